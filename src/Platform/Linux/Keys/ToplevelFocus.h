#pragma once

#include "Platform/Linux/Wayland/WaylandConnection.h"
#include "Ports/FocusedProgram.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;

namespace vorlin {

/// The window that has the focus, as a compositor tells it that lists its windows
/// (wlr-foreign-toplevel-management-v1); kept current, so that asking costs nothing. It tells no
/// process. None is named while no window has the focus, or more than one, as with several seats.
/// Main loop.
class ToplevelFocus final : public FocusedProgram {
public:
    /// Whether the compositor lists its windows.
    static bool isOffered(const WaylandConnection& connection);

    /// Both must outlive this. `unknown` answers for the chord while the window is not known.
    ToplevelFocus(WaylandConnection& connection, FocusedProgram& unknown);
    ToplevelFocus(const ToplevelFocus&) = delete;
    ToplevelFocus& operator=(const ToplevelFocus&) = delete;
    ~ToplevelFocus() override;

    PasteChord pasteChord() override;
    /// Never: what is no window, such as a launcher or a lock screen, may have the keyboard while a
    /// window is still told to be activated.
    bool isKnown() const override { return false; }
    std::optional<std::uint64_t> window() override;

private:
    /// What is said of a window counts once the compositor has said all of it.
    struct State {
        std::string appId;
        bool isActivated = false;
    };
    struct Window {
        ToplevelFocus& owner;
        zwlr_foreign_toplevel_handle_v1* handle = nullptr;
        std::uint64_t number = 0;
        State told;
        State current;
    };
    struct Listeners;

    const Window* focused() const;
    void add(zwlr_foreign_toplevel_handle_v1* handle);
    void remove(const Window& window);

    WaylandConnection& connection;
    FocusedProgram& unknown;
    zwlr_foreign_toplevel_manager_v1* manager = nullptr;
    std::vector<std::unique_ptr<Window>> windows;
    std::uint64_t lastNumber = 0;
};

} // namespace vorlin
