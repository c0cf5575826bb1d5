#pragma once

#include "AppModel.h"
#include "Ports/Ports.h"
#include "Settings/AboutTab.h"
#include "Settings/SettingsScene.h"

#include <QColor>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace vorlin {

/// The settings window of any desktop: made when it is asked for, and gone, with its memory, when
/// it is closed. Main thread.
class SettingsOpener {
public:
    /// What differs between desktops. Each is called on the main thread; none may be empty.
    struct Desktop {
        std::function<bool()> isDark;
        std::function<bool()> hasReducedMotion;
        /// What the person chose for what stands out, where the palette does not tell.
        std::function<std::optional<QColor>()> accent = [] { return std::optional<QColor>(); };
        /// Somebody asked for the window, also for one that is open.
        std::function<void()> opening = [] {};
        /// The window was made, and is about to be shown for the first time.
        std::function<void(std::uintptr_t window)> made = [](std::uintptr_t /*window*/) {};
        /// What the window took is free.
        std::function<void()> gone = [] {};
        /// Ends the program.
        std::function<void()> quit;
    };

    /// The references must outlive this object.
    SettingsOpener(SettingsScene& scene, AppModel& model, const Ports& ports, BuildFacts build,
                   Desktop desktop);
    SettingsOpener(const SettingsOpener&) = delete;
    SettingsOpener& operator=(const SettingsOpener&) = delete;
    ~SettingsOpener();

    /// The desktop's look has changed.
    void followAppearance();

private:
    struct Opened;

    void open();
    /// Once whatever closed the window is over.
    void dropLater();

    SettingsScene& scene;
    AppModel& model;
    const Ports ports;
    const BuildFacts build;
    const Desktop desktop;
    /// What is due later is due only while this lives.
    QObject context;
    std::unique_ptr<Opened> opened;
};

} // namespace vorlin
