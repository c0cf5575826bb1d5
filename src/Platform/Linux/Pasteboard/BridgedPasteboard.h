#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"
#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"
#include "Platform/Linux/Pasteboard/X11Pasteboard.h"
#include "Platform/Linux/X11/X11Connection.h"
#include "Ports/Pasteboard.h"

#include <array>
#include <string>
#include <vector>

namespace vorlin {

/// The clipboard of a Wayland session in which programs on XWayland copy, too. Theirs is read from
/// them: what the compositor passes on of it may be cut off, and looks complete. All else is the
/// compositor's, also where a program on XWayland owns a selection that the compositor does not
/// take over. Main loop; a snapshot waits for XWayland to say who owns the contents, at most 50 ms,
/// and goes by its last answer where that takes longer.
class BridgedPasteboard final : public Pasteboard {
public:
    /// The pasteboards of the compositor and of XWayland, and a connection to XWayland. All must
    /// outlive it.
    BridgedPasteboard(DataControlPasteboard& compositor, X11Pasteboard& xwayland,
                      X11Connection& server, MainLoop& loop);

    Completion<PasteboardSnapshot> snapshot(PasteSource source) override;

    std::int64_t changeCount(PasteSource source) const override
    {
        return compositor.changeCount(source);
    }
    /// In both, text that is known by X11's name alone gets the one that programs of Wayland ask
    /// for.
    void replace(PasteSource source, const PasteboardSnapshot& contents) override;
    void restore(PasteSource source, const PasteboardSnapshot& contents) override;
    void setString(PasteSource source, const std::string& text) override
    {
        compositor.setString(source, text);
    }
    void copyString(PasteSource source, const std::string& text) override
    {
        compositor.copyString(source, text);
    }
    PasteboardUse use(PasteSource source) const override { return compositor.use(source); }

private:
    bool isOwnedOnXWayland(PasteSource source);
    Task<void> readFromXWayland(PasteSource source, Completer<PasteboardSnapshot> reader);

    DataControlPasteboard& compositor;
    X11Pasteboard& xwayland;
    X11Connection& server;
    MainLoop& loop;
    const xcb_atom_t clipboard;
    const xcb_atom_t managersWindow;
    /// The last answers.
    std::array<bool, selectionCount> wasOwnedThere{};
    Lifetime lifetime;
};

/// Whether contents of these types can be what the compositor passes on for a program on XWayland
/// that has these targets: it names the types of text as Wayland does and leaves out what has no
/// name like a type's.
bool arePassedOn(const std::vector<std::string>& types, const std::vector<std::string>& targets);

} // namespace vorlin
