#pragma once

#include "Async/Completion.h"
#include "Platform/Linux/Pasteboard/ScriptedOwner.h"
#include "Platform/Linux/Pasteboard/ScriptedReader.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Shared/QtMainLoop.h"

#include <QCoreApplication>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/types.h>

namespace vorlin {

/// A program started by a test and ended with it.
class Process {
public:
    /// `input` is what it reads.
    explicit Process(const std::vector<std::string>& command, const std::string& input = {});
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    void signal(int number) const;
    /// Its next line.
    std::string line();
    /// All it still writes, until it ends or closes its output.
    std::string output();
    bool running() const;
    pid_t pid() const { return process; }

private:
    pid_t process = -1;
    int fromIt = -1;
};

/// All that a program writes that is no descendant of this one.
std::string outputOfStranger(std::vector<std::string> command);

/// Whether a program is installed.
bool installed(const std::string& program);

/// A display server of its own with a pasteboard on it.
class PasteboardFixture : public testing::Test {
protected:
    PasteboardFixture();
    ~PasteboardFixture() override;

    /// Replaces the pasteboard by one that reads less.
    void limit(std::chrono::milliseconds time, std::size_t bytes);

    PasteboardSnapshot snapshot(PasteSource source = PasteSource::clipboard);
    /// Runs the main loop until `condition` holds. False if it does not within `generously`.
    bool eventually(const std::function<bool()>& condition);

    /// What a snapshot keeps of `data` offered as they are.
    static PasteboardItem itemOf(const std::map<std::string, Typed>& data);

    std::unique_ptr<Process> server;
    QtMainLoop loop;
    std::unique_ptr<X11Pasteboard> pasteboard;

private:
    void awaitConnected();
};

} // namespace vorlin
