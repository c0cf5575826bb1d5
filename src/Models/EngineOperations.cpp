#include "Models/EngineOperations.h"

namespace vorlin {

EngineOperations::~EngineOperations()
{
    for (auto& [id, stop] : downloads) {
        stop.requestStop();
    }
}

EngineOperations::Ticket EngineOperations::begin(const std::string& id)
{
    tickets[id] = ++lastTicket;
    return lastTicket;
}

bool EngineOperations::isCurrent(const std::string& id, Ticket ticket) const
{
    const auto current = tickets.find(id);
    return current != tickets.end() && current->second == ticket;
}

void EngineOperations::forget(const std::string& id)
{
    tickets.erase(id);
}

StopToken EngineOperations::beginDownload(const std::string& id)
{
    return downloads[id].token();
}

bool EngineOperations::isDownloading(const std::string& id) const
{
    return downloads.contains(id);
}

void EngineOperations::endDownload(const std::string& id)
{
    downloads.erase(id);
}

void EngineOperations::cancelDownload(const std::string& id)
{
    if (auto download = downloads.extract(id)) {
        download.mapped().requestStop();
    }
}

} // namespace vorlin
