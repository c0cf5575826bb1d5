#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Ports/Ports.h"
#include "Settings/SettingsView.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace vorlin {

/// Opens the settings window and brings it to the front. Main loop.
class SettingsScene {
public:
    /// How the views fulfil it; empty until there are any.
    struct Window {
        /// Shows the window, made if need be; one that is open stays as it is.
        std::function<void()> open = [] {};
        /// The desktop's own number of the window; nothing while none is on the screen.
        std::function<std::optional<std::uintptr_t>()> number = [] { return std::nullopt; };
    };

    /// The ports must outlive this object.
    explicit SettingsScene(const Ports& ports);
    SettingsScene(const SettingsScene&) = delete;
    SettingsScene& operator=(const SettingsScene&) = delete;

    /// From now on this is the window. One that was asked for before is opened.
    void setWindow(Window window);

    /// The tab that is shown; the one shown last when the window is opened again.
    Published<SettingsTab, SettingsScene> tab{SettingsTab::general};
    /// The person, or whoever opens the settings for them, goes to a tab.
    void showTab(SettingsTab which) { tab.set(which); }

    /// Opens the window and raises it: in the next turn of the loop, and again after 0.15 s, for
    /// it may not exist before.
    void open();
    /// Whether anybody ever called `open`.
    bool wasOpened() const { return opened; }

private:
    void raise();

    MainLoop& loop;
    Workspace& workspace;
    Window window;
    bool hasWindow = false;
    bool opened = false;
    /// `open` was called before there was a window.
    bool wanted = false;
    Timer soon;
    Timer later;
};

} // namespace vorlin
