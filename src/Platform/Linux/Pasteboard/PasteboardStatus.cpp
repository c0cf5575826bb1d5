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

void PasteboardStatus::changed(std::size_t selection)
{
    const std::scoped_lock guard(lock);
    ++selections[selection].changeCount;
}

std::uint64_t PasteboardStatus::writing(std::size_t selection)
{
    const std::scoped_lock guard(lock);
    selections[selection].use = PasteboardUse::unread;
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

} // namespace vorlin
