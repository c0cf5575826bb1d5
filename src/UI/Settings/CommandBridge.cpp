#include "UI/Settings/CommandBridge.h"

namespace vorlin {

void CommandBridge::show(const Command& next, bool first)
{
    const bool differs = next != command || first != startsGroup;
    // Also when it looks the same: its action may be another.
    command = next;
    startsGroup = first;
    if (differs) {
        Q_EMIT changed();
    }
}

void CommandBridge::press() const
{
    const auto kept = command.press; // the call may show another command here
    kept();
}

void CommandList::show(const CommandMenu& groups)
{
    count = 0;
    for (const auto& group : groups) {
        bool first = count > 0;
        for (const auto& command : group) {
            at(count++)->show(command, first);
            first = false;
        }
    }
}

CommandBridge* CommandList::at(std::size_t index)
{
    if (index == bridges.size()) {
        bridges.push_back(new CommandBridge(owner));
    }
    return bridges[index];
}

QVariantList CommandList::list() const
{
    QVariantList result;
    for (std::size_t i = 0; i < count; ++i) {
        result.append(QVariant::fromValue(bridges[i]));
    }
    return result;
}

} // namespace vorlin
