#include "Platform/Linux/Sway/PrivateSway.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QDir>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vorlin {

namespace {

std::string find(const QTemporaryDir& files, const char* pattern)
{
    const QDir folder(files.path());
    const auto names = folder.entryList({pattern}, QDir::System | QDir::Files);
    return names.isEmpty() ? "" : folder.filePath(names.first()).toStdString();
}

} // namespace

PrivateSway::PrivateSway(const std::string& configuration)
{
    writeConfiguration(configuration);
    const auto folderName = folder();
    const auto configFile = folderName + "/config";
    const auto log = folderName + "/log";
    process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int output = open(log.c_str(), O_WRONLY | O_CREAT, 0600);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        setenv("XDG_RUNTIME_DIR", folderName.c_str(), 1);
        setenv("WLR_BACKENDS", "headless", 1);
        setenv("WLR_LIBINPUT_NO_DEVICES", "1", 1);
        setenv("WLR_RENDERER", "pixman", 1);
        setenv("SHELL", "/bin/sh", 1); // of the user that sway runs as it may be none
        unsetenv("SWAYSOCK");
        unsetenv("WAYLAND_DISPLAY");
        unsetenv("DISPLAY");
        if (geteuid() == 0) { // sway refuses to run as root
            execlp("unshare", "unshare", "--user", "--map-user=1", "--map-group=1", "sway", "-c",
                   configFile.c_str(), nullptr);
        }
        execlp("sway", "sway", "-c", configFile.c_str(), nullptr);
        _exit(127);
    }
    EXPECT_TRUE(runUntil([this] { return !socket().empty() && !display().empty(); }))
        << message("-t get_version");
}

PrivateSway::~PrivateSway()
{
    kill(process, SIGTERM); // so that it takes its programs along
    if (!runUntil([this] { return !isAlive(); }, std::chrono::seconds(5))) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

std::string PrivateSway::socket() const
{
    return find(files, "sway-ipc.*.sock");
}

std::string PrivateSway::display() const
{
    const auto found = find(files, "wayland-?");
    return found.ends_with(".lock") ? "" : found;
}

void PrivateSway::writeConfiguration(const std::string& text)
{
    std::ofstream file(folder() + "/config");
    file << "xwayland disable\n" << text << "\n";
}

std::string PrivateSway::message(const std::string& arguments) const
{
    const auto command = "swaymsg -s " + socket() + " " + arguments + " 2>&1";
    auto* const pipe = popen(command.c_str(), "r");
    std::string result;
    std::array<char, 4096> bytes{};
    for (std::size_t got = 1; got > 0;) {
        got = fread(bytes.data(), 1, bytes.size(), pipe);
        result.append(bytes.data(), got);
    }
    pclose(pipe);
    return result;
}

bool PrivateSway::isAlive()
{
    return waitpid(process, nullptr, WNOHANG) == 0;
}

void PrivateSway::spawn(const std::string& command) const
{
    message("exec '" + command + "'");
}

} // namespace vorlin
