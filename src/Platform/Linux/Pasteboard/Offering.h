#pragma once

#include "Platform/Linux/Pasteboard/SelectionTargets.h"
#include "Ports/Pasteboard.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// Bytes that several targets and transfers under way share.
using SharedBytes = std::shared_ptr<const std::vector<std::uint8_t>>;

/// Everything offered to other programs as the contents of one selection.
struct Offering {
    struct Entry {
        TargetForm form;
        SharedBytes bytes;
    };
    std::vector<Entry> entries;
    /// Whether it is there to be pasted only: nobody else is given its text. The mark and the list
    /// of types are for everybody.
    bool forPasteOnly = false;

    /// Whether it is marked as nothing to be remembered by clipboard managers.
    bool secret() const;
};

/// The target by which contents ask clipboard managers to leave them alone.
inline constexpr std::string_view secrecyHint = "x-kde-passwordManagerHint";

/// `text` under all names by which programs ask for text.
Offering textOffering(const std::string& text);

/// The same with the mark of a secret, to be pasted only.
Offering secretOffering(const std::string& text);

/// What was read in a snapshot, as it was. X11 knows one item: further ones add what the first
/// lacks. Names that no snapshot has, and data of no whole number of elements, are left out.
Offering restoredOffering(const PasteboardSnapshot& contents);

/// What a snapshot of `offering` reads.
PasteboardSnapshot snapshotOf(const Offering& offering);

} // namespace vorlin
