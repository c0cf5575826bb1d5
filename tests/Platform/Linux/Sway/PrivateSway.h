#pragma once

#include <QTemporaryDir>

#include <optional>
#include <string>

#include <sys/types.h>

namespace vorlin {

/// A sway of a test's own, without a screen: it ends with this object, or with the test.
class PrivateSway {
public:
    /// `configuration` is the text of its configuration file; the file is `folder()`/config.
    explicit PrivateSway(const std::string& configuration = "");
    PrivateSway(const PrivateSway&) = delete;
    PrivateSway& operator=(const PrivateSway&) = delete;
    ~PrivateSway();

    /// Of its IPC.
    std::string socket() const;
    /// For Wayland programs.
    std::string display() const;
    std::string folder() const { return files.path().toStdString(); }

    void writeConfiguration(const std::string& text);

    /// What swaymsg prints when it is called with these arguments.
    std::string message(const std::string& arguments) const;

    /// Whether it still runs: a mistake of ours may end it.
    bool isAlive();

    /// Starts a program as its client; it ends with sway.
    void spawn(const std::string& command) const;

private:
    QTemporaryDir files;
    pid_t process = -1;
};

} // namespace vorlin
