#pragma once

#include "AppModel.h"
#include "Platform/Linux/Overlay/DesktopAppearance.h"
#include "Ports/Ports.h"
#include "Settings/SettingsScene.h"

#include <QObject>

#include <functional>
#include <memory>

namespace vorlin {

/// The settings window of a Linux desktop: made when it is asked for, and gone, with its memory,
/// when it is closed. Main thread.
class LinuxSettings {
public:
    /// All must outlive this object. `quit` ends the program.
    LinuxSettings(SettingsScene& scene, AppModel& model, const Ports& ports,
                  DesktopAppearance& look, std::function<void()> quit);
    LinuxSettings(const LinuxSettings&) = delete;
    LinuxSettings& operator=(const LinuxSettings&) = delete;
    ~LinuxSettings();

private:
    struct Opened;

    void open();
    /// Once whatever closed the window is over.
    void dropLater();
    void followAppearance();

    SettingsScene& scene;
    AppModel& model;
    const Ports ports;
    DesktopAppearance& look;
    std::function<void()> quit;
    /// What is due later is due only while this lives.
    QObject context;
    std::unique_ptr<Opened> opened;
};

} // namespace vorlin
