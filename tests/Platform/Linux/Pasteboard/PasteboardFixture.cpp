#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <QThread>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vorlin {

namespace {

QCoreApplication& theApplication()
{
    static int count = 1;
    static std::string name = "pasteboard_tests";
    static std::vector<char*> arguments = {name.data(), nullptr};
    static QCoreApplication application(count, arguments.data());
    return application;
}

Task<> waitFor(Completion<PasteboardSnapshot> reading, std::optional<PasteboardSnapshot>& result)
{
    result = co_await reading;
}

} // namespace

Process::Process(const std::vector<std::string>& command, const std::string& input)
{
    int output[2] = {};
    EXPECT_EQ(pipe2(output, O_CLOEXEC), 0);
    const int source = memfd_create("input", MFD_CLOEXEC);
    EXPECT_EQ(write(source, input.data(), input.size()), static_cast<ssize_t>(input.size()));
    lseek(source, 0, SEEK_SET);
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(source, 0);
        dup2(output[1], 1);
        dup2(open("/dev/null", O_WRONLY), 2);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(source);
    close(output[1]);
    fromIt = output[0];
}

Process::~Process()
{
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    close(fromIt);
}

void Process::signal(int number) const
{
    kill(process, number);
}

std::string Process::line()
{
    std::string text;
    char next = 0;
    while (read(fromIt, &next, 1) == 1 && next != '\n') {
        text += next;
    }
    return text;
}

std::string Process::output()
{
    std::string text;
    std::string piece(65536, '\0');
    for (;;) {
        const ssize_t length = read(fromIt, piece.data(), piece.size());
        if (length <= 0) {
            return text;
        }
        text.append(piece, 0, static_cast<std::size_t>(length));
    }
}

bool Process::running() const
{
    siginfo_t state{};
    waitid(P_PID, static_cast<id_t>(process), &state, WEXITED | WNOHANG | WNOWAIT);
    return state.si_pid == 0;
}

std::string outputOfStranger(std::vector<std::string> command)
{
    constexpr const char* leaving = R"(
import os, sys
parent = os.getpid()
if os.fork():
    os._exit(0)
while os.getppid() == parent:
    os.sched_yield()
os.execvp(sys.argv[1], sys.argv[1:])
)";
    command.insert(command.begin(), {"/usr/bin/python3", "-c", leaving});
    return Process(command).output();
}

bool installed(const std::string& program)
{
    for (const char* folder : {"/usr/bin/", "/usr/local/bin/", "/bin/"}) {
        if (std::filesystem::exists(folder + program)) {
            return true;
        }
    }
    return false;
}

PasteboardFixture::PasteboardFixture()
{
    theApplication();
    server = std::make_unique<Process>(
        std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", "640x480x24",
                                 "-nolisten", "tcp", "-ac", "-noreset"});
    const std::string number = server->line();
    EXPECT_FALSE(number.empty()) << "Xvfb did not start";
    setenv("DISPLAY", (":" + number).c_str(), 1);
    pasteboard = std::make_unique<X11Pasteboard>(loop);
    awaitConnected();
}

PasteboardFixture::~PasteboardFixture()
{
    pasteboard.reset();
}

void PasteboardFixture::awaitConnected()
{
    EXPECT_TRUE(eventually([&] {
        return pasteboard->changeCount(PasteSource::clipboard) > 0 &&
               pasteboard->changeCount(PasteSource::primarySelection) > 0;
    }));
}

void PasteboardFixture::limit(std::chrono::milliseconds time, std::size_t bytes)
{
    pasteboard.reset();
    pasteboard = std::make_unique<X11Pasteboard>(loop, X11Pasteboard::Limits{time, bytes});
    awaitConnected();
}

PasteboardSnapshot PasteboardFixture::snapshot(PasteSource source)
{
    std::optional<PasteboardSnapshot> result;
    spawn(loop, waitFor(pasteboard->snapshot(source), result));
    EXPECT_TRUE(eventually([&] { return result.has_value(); })) << "the snapshot never came";
    return result.value_or(PasteboardSnapshot{});
}

bool PasteboardFixture::eventually(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + generously;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        QThread::msleep(1);
    }
    return true;
}

PasteboardItem PasteboardFixture::itemOf(const std::map<std::string, Typed>& data)
{
    PasteboardItem item;
    for (const auto& [target, each] : data) {
        item[pasteboardType({target, each.type, each.format}).value()] = each.bytes;
    }
    return item;
}

} // namespace vorlin
