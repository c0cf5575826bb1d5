#pragma once

#include "Async/Completion.h"
#include "Ports/FocusedProgram.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vorlin {

/// One thing on a pasteboard: its data by type. Types are the platform's own names.
using PasteboardItem = std::map<std::string, std::vector<std::uint8_t>>;

/// Everything on a pasteboard, in order.
using PasteboardSnapshot = std::vector<PasteboardItem>;

/// What became of the contents this process put on a pasteboard last.
enum class PasteboardUse {
    /// On their way: for all that is known something else may still be there.
    underway,
    /// Still there; no program but clipboard managers has read it.
    unread,
    /// Still there, and some program has read it.
    read,
    /// Another program has put something else there since.
    replaced,
    /// The platform does not tell.
    untracked,
};

/// The desktop's pasteboard and, on X11, its primary selection. Main loop; nothing blocks.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// Reads every item with all its types, byte for byte. Completes within 1 s and 64 MB
    /// whatever the owner does: what comes later is left out. Never fails.
    virtual Completion<PasteboardSnapshot> snapshot(PasteSource source) = 0;

    /// Whether the system keeps the contents itself and gives them when they are asked for, so that
    /// nothing is gained by reading them before there is a text to paste.
    virtual bool isAtHand() const { return false; }

    /// A number that differs from the last one when the contents may have changed since, by
    /// whomever.
    virtual std::int64_t changeCount(PasteSource source) const = 0;

    /// Empties it and, with a non-empty `contents`, writes the items one by one, in order.
    virtual void replace(PasteSource source, const PasteboardSnapshot& contents) = 0;

    /// The same in the place of what this process put there last, and of nothing else: what another
    /// program has put there since stays, whether or not `use` tells of it yet.
    virtual void restore(PasteSource source, const PasteboardSnapshot& contents) = 0;

    /// Empties it and writes `text` as its only item, marked so that clipboard managers may
    /// leave it alone.
    virtual void setString(PasteSource source, const std::string& text) = 0;

    /// The same, marked as nothing: contents like those that a person copies.
    virtual void copyString(PasteSource source, const std::string& text) = 0;

    /// What became of the contents written last, by whichever call.
    virtual PasteboardUse use(PasteSource source) const = 0;

    /// Whether the focused program has asked of which types the contents written last are; where
    /// the platform does not tell, it counts as having done so.
    virtual bool wasLookedAt(PasteSource) const { return true; }
};

} // namespace vorlin
