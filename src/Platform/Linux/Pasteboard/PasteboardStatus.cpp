#include "Platform/Linux/Pasteboard/PasteboardStatus.h"

namespace vorlin {

std::int64_t PasteboardStatus::changeCount(std::size_t selection) const
{
    const std::scoped_lock guard(lock);
    return selections[selection].changeCount;
}

PasteboardUse PasteboardStatus::use(std::size_t selection) const
{
    const std::scoped_lock guard(lock);
    return selections[selection].use;
}

bool PasteboardStatus::lookedAt(std::size_t selection) const
{
    const std::scoped_lock guard(lock);
    return selections[selection].looked;
}

void PasteboardStatus::changed(std::size_t selection)
{
    const std::scoped_lock guard(lock);
    ++selections[selection].changeCount;
}

std::uint64_t PasteboardStatus::writing(std::size_t selection)
{
    const std::scoped_lock guard(lock);
    selections[selection].use = PasteboardUse::underway;
    selections[selection].looked = false;
    return ++selections[selection].newest;
}

bool PasteboardStatus::isNewest(std::size_t selection, std::uint64_t number) const
{
    const std::scoped_lock guard(lock);
    return selections[selection].newest == number;
}

void PasteboardStatus::became(std::size_t selection, std::uint64_t number, PasteboardUse use)
{
    const std::scoped_lock guard(lock);
    Selection& known = selections[selection];
    if (known.newest == number && known.use != PasteboardUse::replaced) {
        known.use = use;
    }
}

void PasteboardStatus::wasLookedAt(std::size_t selection, std::uint64_t number)
{
    const std::scoped_lock guard(lock);
    Selection& known = selections[selection];
    known.looked |= known.newest == number;
}

} // namespace vorlin
