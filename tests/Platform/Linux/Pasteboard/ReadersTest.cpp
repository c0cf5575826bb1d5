#include "Platform/Linux/Pasteboard/PasteboardFixture.h"
#include "Platform/Linux/Pasteboard/ReaderProcesses.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>
#include <unistd.h>

namespace vorlin {

namespace {

namespace fs = std::filesystem;

/// Which processes are given a text while another one has the focus.
class Readers : public PasteboardFixture {
protected:
    Readers()
    {
        std::string name = (fs::temp_directory_path() / "readers-XXXXXX").string();
        folder = mkdtemp(name.data());
    }
    ~Readers() override { fs::remove_all(folder); }

    /// Returns once the text is there. Whatever process was there before is older by the clock,
    /// too.
    void offer()
    {
        const auto start = processTime();
        EXPECT_TRUE(eventually([&] { return processTime() > start; }));
        pasteboard->setString(PasteSource::clipboard, "dictated");
        EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::unread; }));
    }
    PasteboardUse use() const { return pasteboard->use(PasteSource::clipboard); }

    /// A program under another name.
    std::string copyOf(const std::string& program, const std::string& name)
    {
        fs::copy_file("/usr/bin/" + program, folder / name);
        return folder / name;
    }
    static std::string pastedBy(const std::string& program)
    {
        return outputOfStranger({program, "-o", "-selection", "clipboard"});
    }
    /// Gives the focus to the window that another process has opened.
    bool focusOpened()
    {
        return eventually([&] {
            const XcbPointer<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
                person.connection, xcb_query_tree(person.connection, person.root), nullptr));
            for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
                const auto window = xcb_query_tree_children(tree.get())[i];
                const XcbPointer<xcb_get_window_attributes_reply_t> state(
                    xcb_get_window_attributes_reply(
                        person.connection, xcb_get_window_attributes(person.connection, window),
                        nullptr));
                if (state && state->map_state == XCB_MAP_STATE_VIEWABLE) {
                    xcb_set_input_focus(person.connection, XCB_INPUT_FOCUS_PARENT, window,
                                        XCB_CURRENT_TIME);
                    person.sync();
                    return true;
                }
            }
            return false;
        });
    }

    fs::path folder;
    ScriptedReader person;
};

/// A window in front whose program says what a program gets that it runs: one that is begun when it
/// is told to, or by a process that waits since the start.
constexpr const char* runner = R"(
import signal, subprocess, sys
from Xlib import X, display
x = display.Display()
window = x.screen().root.create_window(0, 0, 9, 9, 0, X.CopyFromParent, override_redirect=1)
window.map()
window.set_input_focus(X.RevertToParent, X.CurrentTime)
x.sync()
signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGUSR1])
paste = ['xclip', '-o', '-selection', 'clipboard']
before = subprocess.Popen(['sh', '-c', 'read line; exec "$@"', 'sh', *paste],
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE)
print('ready', flush=True)
signal.sigwait([signal.SIGUSR1])
print(before.communicate(b'go\n')[0].decode(), flush=True)
signal.sigwait([signal.SIGUSR1])
print(subprocess.run([*sys.argv[1:], *paste], stdout=subprocess.PIPE).stdout.decode(), flush=True)
)";

} // namespace

TEST_F(Readers, whatTheFocusedProgramBeginsToPasteReadsForItAndNothingThatItBeganBefore)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    Process focused({"/usr/bin/python3", "-c", runner});
    ASSERT_EQ(focused.line(), "ready");
    offer();
    focused.signal(SIGUSR1);
    EXPECT_EQ(focused.line(), "");
    EXPECT_EQ(use(), PasteboardUse::unread);
    focused.signal(SIGUSR1);
    EXPECT_EQ(focused.line(), "dictated");
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::read; }));
}

TEST_F(Readers, whatAClipboardManagerBeginsReadsForNobody)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    // As one that a terminal has in its window: it runs a program for each look.
    Process focused({"/usr/bin/python3", "-c", runner, copyOf("dash", "clipmenud"), "-c",
                     "\"$@\"; exit", "sh"});
    ASSERT_EQ(focused.line(), "ready");
    offer();
    focused.signal(SIGUSR1);
    focused.line();
    focused.signal(SIGUSR1);
    EXPECT_EQ(focused.line(), "");
    EXPECT_EQ(use(), PasteboardUse::unread);
}

TEST_F(Readers, anotherProcessOfTheFocusedExecutableReadsForIt)
{
    person.takeFocus();
    int begin[2] = {};
    int result[2] = {};
    ASSERT_EQ(pipe(begin), 0);
    ASSERT_EQ(pipe(result), 0);
    const pid_t other = fork();
    if (other == 0) {
        char go = 0;
        [[maybe_unused]] auto done = read(begin[0], &go, 1);
        const std::string text = ScriptedReader().text();
        done = write(result[1], text.data(), text.size());
        _exit(0);
    }
    offer();
    ASSERT_EQ(write(begin[1], "g", 1), 1);
    waitpid(other, nullptr, 0);
    std::string text(64, '\0');
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(0, read(result[0], text.data(), 64))));
    EXPECT_EQ(text, "dictated");
    EXPECT_EQ(use(), PasteboardUse::read);
    for (const int end : {begin[0], begin[1], result[0], result[1]}) {
        close(end);
    }
}

TEST_F(Readers, windowsProgramsReadForOneAnother)
{
    ASSERT_TRUE(installed("xclip")) << "scripts/install-packages brings it";
    // One is known by what runs it, the other by its own name.
    const Process focused({copyOf("xterm", "wine64-preloader"), "-e", "cat"});
    ASSERT_TRUE(focusOpened());
    offer();
    EXPECT_EQ(pastedBy("xclip"), "");
    EXPECT_EQ(use(), PasteboardUse::unread);
    EXPECT_EQ(pastedBy(copyOf("xclip", "notepad.exe")), "dictated");
    EXPECT_TRUE(eventually([&] { return use() == PasteboardUse::read; }));
}

TEST(ReaderProcesses, aProgramThatRunsOthersIsNotOneProgram)
{
    Process one({"/usr/bin/python3", "-c", "import signal; print(flush=True); signal.pause()"});
    const auto self = static_cast<std::uint32_t>(getpid());
    const auto python = static_cast<std::uint32_t>(one.pid());
    one.line();
    EXPECT_TRUE(runTheSameProgram(self, self));
    EXPECT_FALSE(runTheSameProgram(self, python));
    EXPECT_FALSE(runTheSameProgram(python, python));
}

TEST(ReaderProcesses, aProcessWhoseExecutableCannotBeSeenIsNobodys)
{
    const pid_t ended = fork();
    if (ended == 0) {
        _exit(0);
    }
    siginfo_t state{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(ended), &state, WEXITED | WNOWAIT), 0);
    const auto self = static_cast<std::uint32_t>(getpid());
    for (const auto process : {static_cast<std::uint32_t>(ended), 4'194'304U}) {
        std::error_code error;
        EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(process) + "/exe", error), "");
        ASSERT_TRUE(error);
        EXPECT_FALSE(runTheSameProgram(self, process));
        EXPECT_FALSE(runTheSameProgram(process, self));
        EXPECT_FALSE(runTheSameProgram(process, process));
        EXPECT_FALSE(isWindowsProgram(process));
    }
    waitpid(ended, nullptr, 0);
    EXPECT_FALSE(wasBegunBy(static_cast<std::uint32_t>(ended), self, 0));
}

} // namespace vorlin
