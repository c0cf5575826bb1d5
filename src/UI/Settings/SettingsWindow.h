#pragma once

#include "UI/Settings/SettingsBridge.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <cstdint>
#include <memory>

namespace vorlin {

/// The settings window: of a fixed size, made when it is asked for, and gone with its memory when
/// it is closed. Main thread, after the Qt application.
class SettingsWindow final : public QObject {
    Q_OBJECT

public:
    /// Loads the view and binds it; what it shows must outlive this object. A view that does not
    /// load is a fault in the program, and ends it.
    SettingsWindow(SettingsView& view, SettingsScene& scene);
    ~SettingsWindow() override;

    /// How the person has set up the desktop. Without an accent it is the palette's.
    void setAppearance(bool dark, bool reducedMotion, const std::optional<QColor>& accent = {})
    {
        settings.setAppearance(dark, reducedMotion, accent);
    }

    void show() { window.show(); }
    bool isShown() const { return window.isVisible(); }

    /// The desktop's own number of the window.
    std::uintptr_t number() const { return window.winId(); }

    QQuickWindow& quickWindow() { return window; }
    SettingsBridge& bridge() { return settings; }

Q_SIGNALS:
    /// The person closed the window; this object may be deleted later, not within.
    void closed();
    /// The person asked for the end of the program.
    void quit();

private:
    SettingsBridge settings;
    QQmlEngine engine;
    QQuickWindow window;
    std::unique_ptr<QQuickItem> root;
};

} // namespace vorlin
