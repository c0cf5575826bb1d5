#pragma once

#include "Ports/Pasteboard.h"

#include <array>
#include <cstdint>
#include <mutex>

namespace vorlin {

/// The two selections, as an index.
inline constexpr std::size_t selectionCount = 2;

inline std::size_t selectionIndex(PasteSource source)
{
    return source == PasteSource::clipboard ? 0 : 1;
}

/// What is known about the two selections: written by the selection thread, read on the main
/// loop. Any thread; nothing blocks.
class PasteboardStatus {
public:
    std::int64_t changeCount(std::size_t selection) const;
    PasteboardUse use(std::size_t selection) const;
    /// Whether the focused program knows the types of what we wrote last.
    bool lookedAt(std::size_t selection) const;

    /// Somebody has, or may have, put something else there.
    void changed(std::size_t selection);

    /// New contents of ours are on their way, until `became` says what they are. The result is
    /// their number, by which the calls below name them; contents that are not the newest are no
    /// longer of interest.
    std::uint64_t writing(std::size_t selection);

    /// Whether nothing of ours has been written since contents `number`.
    bool isNewest(std::size_t selection, std::uint64_t number) const;

    /// What became of contents `number`. What has been replaced stays so.
    void became(std::size_t selection, std::uint64_t number, PasteboardUse use);

    /// The focused program has been told the types of contents `number`.
    void wasLookedAt(std::size_t selection, std::uint64_t number);

private:
    struct Selection {
        std::int64_t changeCount = 0;
        std::uint64_t newest = 0;
        PasteboardUse use = PasteboardUse::untracked;
        bool looked = false;
    };

    mutable std::mutex lock;
    std::array<Selection, selectionCount> selections;
};

} // namespace vorlin
