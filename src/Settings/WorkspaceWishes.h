#pragma once

#include "Async/Completion.h"
#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"

#include <functional>
#include <map>
#include <string>

namespace vorlin {

/// What the rows of a form ask of other programs, and why it was not done. Main loop.
class WorkspaceWishes {
public:
    /// `loop` must outlive this object. `changed` is called when `problem` may answer anew.
    WorkspaceWishes(MainLoop& loop, std::function<void()> changed);

    /// This is what the row wishes from now on: how an earlier one ended is of no interest.
    void follow(const std::string& row, Completion<Done> wish);

    /// One line on why the row's latest wish was not fulfilled; empty when it was, and until the
    /// desktop has answered.
    std::string problem(const std::string& row) const;

private:
    struct Latest {
        int number = 0;
        std::string problem;
    };

    Task<void> await(std::string row, int number, Completion<Done> wish);

    MainLoop& loop;
    std::function<void()> changed;
    std::map<std::string, Latest> latest;
    Lifetime lifetime;
};

} // namespace vorlin
