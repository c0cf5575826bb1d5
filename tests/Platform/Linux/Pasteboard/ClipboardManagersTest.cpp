#include "Platform/Linux/Pasteboard/PasteboardFixture.h"
#include "Platform/Linux/Pasteboard/ReaderProcesses.h"

#include <QThread>
#include <cstdlib>
#include <filesystem>

namespace vorlin {

namespace {

/// The one that reads by polling; Debian 13 has neither it nor its successor, but another in their
/// place.
std::vector<std::string> pollingManager()
{
    if (installed("parcellite")) {
        return {"parcellite", "-n"};
    }
    return {"diodon"};
}

/// With no window focused every reader counts but the managers.
class ClipboardManagers : public PasteboardFixture,
                          public testing::WithParamInterface<std::vector<std::string>> {
protected:
    ClipboardManagers()
    {
        std::string folder = (std::filesystem::temp_directory_path() / "managerXXXXXX").string();
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        home = folder;
        setenv("HOME", home.c_str(), 1);
        setenv("XDG_CONFIG_HOME", home.c_str(), 1);
        setenv("XDG_DATA_HOME", home.c_str(), 1);
        setenv("XDG_RUNTIME_DIR", home.c_str(), 1);
    }
    ~ClipboardManagers() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(home, ignored);
    }

    std::filesystem::path home;
};

} // namespace

TEST(ClipboardManagerNames, areThoseOfTheProgramsAndNoOthers)
{
    for (const char* name :
         {"klipper", "copyq", "xfce4-clipman", "parcellite", "plasmashell", "panel-8-clipman",
          "gnome-shell", "wl-paste", "wl-clip-persist", "kdeconnectd", "fcitx5", "krdpserver"}) {
        EXPECT_TRUE(isClipboardManager(name)) << name;
    }
    for (const char* name :
         {"", "kwin_wayland", "xterm", "gedit", "firefox-esr", "konsole", "xclip"}) {
        EXPECT_FALSE(isClipboardManager(name)) << name;
    }
}

TEST_P(ClipboardManagers, readTheTextWithoutHavingPastedIt)
{
    ASSERT_TRUE(installed(GetParam().front())) << "scripts/install-packages brings it";
    std::vector<std::string> command = {"dbus-run-session", "--"};
    command.insert(command.end(), GetParam().begin(), GetParam().end());
    const Process manager(command);
    // It is at work when it asks for what another program has copied.
    {
        bool atWork = false;
        for (int i = 0; i < 100 && !atWork; ++i) {
            const ScriptedOwner copier(offering(
                {{"UTF8_STRING", plain("UTF8_STRING", bytesOf("copy " + std::to_string(i)))},
                 {"STRING", plain("STRING", bytesOf("copy"))},
                 {"text/plain", plain("text/plain", bytesOf("copy"))}}));
            for (int wait = 0; wait < 40 && !atWork; ++wait) {
                QThread::msleep(10);
                atWork = copier.asked("UTF8_STRING") + copier.asked("text/plain") +
                             copier.asked("STRING") >
                         0;
            }
        }
        ASSERT_TRUE(atWork) << "it reads nothing";
    }
    pasteboard->setString(PasteSource::clipboard, "dictated");
    // Long enough for it to read, by what it has shown above; a reader that counted would be seen.
    for (int wait = 0; wait < 100; ++wait) {
        QThread::msleep(10);
        ASSERT_NE(pasteboard->use(PasteSource::clipboard), PasteboardUse::read);
    }
    if (pasteboard->use(PasteSource::clipboard) == PasteboardUse::unread) {
        ScriptedReader reader;
        EXPECT_EQ(reader.text(), "dictated");
        EXPECT_EQ(pasteboard->use(PasteSource::clipboard), PasteboardUse::read);
    }
}

INSTANTIATE_TEST_SUITE_P(Installed, ClipboardManagers,
                         testing::Values(std::vector<std::string>{"xfce4-clipman"},
                                         pollingManager(), std::vector<std::string>{"copyq"}),
                         [](const auto& each) {
                             std::string name = each.param.front();
                             std::erase(name, '-');
                             return name;
                         });

} // namespace vorlin
