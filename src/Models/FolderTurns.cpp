#include "Models/FolderTurns.h"

#include <utility>

namespace vorlin {

void FolderTurns::take(const std::string& folder, Work change)
{
    const auto [taken, isFree] = waiting.try_emplace(folder);
    if (isFree) {
        change();
    } else {
        taken->second.push_back(std::move(change));
    }
}

void FolderTurns::end(const std::string& folder)
{
    const auto taken = waiting.find(folder);
    if (taken->second.empty()) {
        waiting.erase(taken);
        return;
    }
    const Work next = std::move(taken->second.front());
    taken->second.pop_front();
    next();
}

} // namespace vorlin
