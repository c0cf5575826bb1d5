#pragma once

#include "Platform/Shared/QuitSignals.h"
#include "Ports/Application.h"
#include "Settings/SettingsScene.h"

#include <chrono>
#include <functional>
#include <optional>

namespace vorlin {

/// The end takes two seconds at most, what follows the deadline included.
inline constexpr std::chrono::milliseconds quitLimit{1800};
static_assert(quitLimit < std::chrono::seconds(2));

/// The program on any desktop, from its claim to be the only one until somebody ends it: a later
/// start opens the settings, signals end the main loop. Main thread, after the Qt application and
/// before what has to be tidied up.
class Program {
public:
    /// `application` must outlive this object.
    explicit Program(Application& application);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Whether it is the only one; else the other one was told, and this one must end.
    bool isOnly() const { return only; }

    /// Ends the main loop; to be used for as long as this object lives.
    std::function<void()> quit();

    /// Runs the main loop until its end, and returns what the process ends with. A later start
    /// opens `settings`. `loadOverlay` is called once, when the loop has run for `untilOverlay`:
    /// that holds it up, and the keys come first.
    int run(SettingsScene& settings, std::chrono::milliseconds untilOverlay,
            const std::function<void()>& loadOverlay);

private:
    Application& application;
    std::function<void()> openSettings = [] {}; // nothing to open yet
    const bool only;
    std::optional<QuitSignals> quitSignals;
};

/// Ends the process once all is tidied up.
[[noreturn]] void endProcess(int status);

} // namespace vorlin
