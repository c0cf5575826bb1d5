#pragma once

#include "Async/Stop.h"
#include "Models/FolderTurns.h"

#include <cstdint>
#include <map>
#include <string>

namespace vorlin {

/// What is under way for the engines of the catalog, by their ids: whose answers still count,
/// which downloads run, whose turn it is with a folder. Main loop.
class EngineOperations {
public:
    /// Tells the answers of the last thing that was begun for an engine from older ones.
    using Ticket = std::uint64_t;

    EngineOperations() = default;
    EngineOperations(const EngineOperations&) = delete;
    EngineOperations& operator=(const EngineOperations&) = delete;
    /// Asks every download to end.
    ~EngineOperations();

    /// Something else begins for the engine: no answer to what was begun before counts any more.
    Ticket begin(const std::string& id);
    bool isCurrent(const std::string& id, Ticket ticket) const;
    /// The engine is gone: no answer counts.
    void forget(const std::string& id);

    /// From now on the engine counts as being downloaded. The result asks the download to end.
    StopToken beginDownload(const std::string& id);
    bool isDownloading(const std::string& id) const;
    void endDownload(const std::string& id);
    /// Asks the download to end, if there is one; it does not count as running any more.
    void cancelDownload(const std::string& id);

    /// Changes of the engines' folders, one at a time.
    FolderTurns turns;

private:
    std::map<std::string, Ticket> tickets;
    Ticket lastTicket = 0;
    std::map<std::string, StopSource> downloads;
};

} // namespace vorlin
