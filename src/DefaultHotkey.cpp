#include "DefaultHotkey.h"

#include <algorithm>

namespace vorlin {

Hotkey defaultHotkey(const std::vector<Hotkey>& candidates, EventTap& tap)
{
    if (candidates.empty()) {
        return {};
    }
    const auto isFree = [&](const Hotkey& key) {
        return !key.modifierOnly || !tap.typesCharacters(key.keyCode);
    };
    auto found = std::ranges::find_if(candidates, [&](const Hotkey& key) {
        return tap.watchable(key) == KeyWatch::pressesAndReleases && isFree(key);
    });
    if (found == candidates.end()) {
        found = std::ranges::find_if(candidates, isFree);
    }
    return found == candidates.end() ? candidates.front() : *found;
}

} // namespace vorlin
