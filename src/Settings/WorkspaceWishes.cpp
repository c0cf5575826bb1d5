#include "Settings/WorkspaceWishes.h"

#include <exception>
#include <utility>

namespace vorlin {

WorkspaceWishes::WorkspaceWishes(MainLoop& loop, std::function<void()> changed)
    : loop(loop), changed(std::move(changed))
{
}

void WorkspaceWishes::follow(const std::string& row, Completion<Done> wish)
{
    auto& entry = latest[row];
    entry.problem.clear();
    auto task = await(row, ++entry.number, std::move(wish));
    changed();
    spawn(loop, lifetime.token(), std::move(task));
}

Task<void> WorkspaceWishes::await(std::string row, int number, Completion<Done> wish)
{
    std::string problem;
    try {
        co_await wish;
    } catch (const std::exception& error) {
        problem = error.what();
    }
    auto& entry = latest[row];
    if (number == entry.number) {
        entry.problem = std::move(problem);
        changed();
    }
}

std::string WorkspaceWishes::problem(const std::string& row) const
{
    const auto found = latest.find(row);
    return found == latest.end() ? std::string() : found->second.problem;
}

} // namespace vorlin
