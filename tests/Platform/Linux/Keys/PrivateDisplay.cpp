#include "Platform/Linux/Keys/PrivateDisplay.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <array>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vorlin {

namespace {

void run(const std::string& command)
{
    if (std::system(command.c_str()) != 0) {
        ADD_FAILURE() << command;
    }
}

} // namespace

PrivateDisplay::PrivateDisplay()
{
    std::array<int, 2> ready{};
    if (pipe(ready.data()) != 0) {
        std::abort();
    }
    server = fork();
    if (server == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ready[0]);
        const int nothing = open("/dev/null", O_WRONLY);
        dup2(nothing, STDERR_FILENO);
        const auto descriptor = std::to_string(ready[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "640x480x24",
               "-nolisten", "tcp", "-ac", "-noreset", nullptr);
        _exit(127);
    }
    close(ready[1]);
    std::string number;
    char letter = 0;
    while (read(ready[0], &letter, 1) == 1 && letter != '\n') {
        number += letter;
    }
    close(ready[0]);
    EXPECT_FALSE(number.empty()) << "Xvfb does not start";
    setenv("DISPLAY", (":" + number).c_str(), 1);
    run("xset r off"); // a test that is starved holds its keys for long
}

PrivateDisplay::~PrivateDisplay()
{
    kill();
    unsetenv("DISPLAY");
}

void PrivateDisplay::kill()
{
    if (server > 0) {
        ::kill(server, SIGKILL);
        waitpid(server, nullptr, 0);
        server = -1;
        const std::string number = std::string(getenv("DISPLAY")).substr(1);
        unlink(("/tmp/.X" + number + "-lock").c_str());
        unlink(("/tmp/.X11-unix/X" + number).c_str());
    }
}

void PrivateDisplay::setLayout(const std::string& arguments)
{
    run("setxkbmap " + arguments + " 2>/dev/null");
}

void PrivateDisplay::repeatSoon()
{
    run("xset r rate 200 50 r on");
}

bool waitUntil(const std::function<bool()>& condition)
{
    const QDeadlineTimer deadline(20000);
    QTimer look;
    look.start(2);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void serveLoop()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace vorlin
