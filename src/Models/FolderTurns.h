#pragma once

#include "Async/Executor.h"

#include <deque>
#include <map>
#include <string>

namespace vorlin {

/// Lets one change of a folder happen at a time: a download that is being cancelled, the removal
/// that cancelled it and the download after that follow each other. Main loop.
class FolderTurns {
public:
    /// Calls `change` when everything that took `folder` before has ended: at once when nothing
    /// has it. The change then has the folder until `end`.
    void take(const std::string& folder, Work change);

    /// The change that has `folder` is over.
    void end(const std::string& folder);

private:
    /// For each folder that is taken, the changes that wait for it.
    std::map<std::string, std::deque<Work>> waiting;
};

} // namespace vorlin
