#pragma once

#include <functional>
#include <string>

#include <sys/types.h>

namespace vorlin {

/// A display server of a test's own, named by `DISPLAY` while it lives.
class PrivateDisplay {
public:
    PrivateDisplay();
    PrivateDisplay(const PrivateDisplay&) = delete;
    PrivateDisplay& operator=(const PrivateDisplay&) = delete;
    ~PrivateDisplay();

    /// Kills the server and waits for its end.
    void kill();

    /// Sets the keyboard layout; arguments as for setxkbmap.
    static void setLayout(const std::string& arguments);

    /// Makes held keys repeat soon and fast.
    static void repeatSoon();

private:
    pid_t server = -1;
};

/// Serves the loop until `condition` holds; false when it does not for a long time.
[[nodiscard]] bool waitUntil(const std::function<bool()>& condition);

/// Serves what the loop has to do now.
void serveLoop();

} // namespace vorlin
