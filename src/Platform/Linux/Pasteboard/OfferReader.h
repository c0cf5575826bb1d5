#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Pasteboard/SnapshotCollector.h"
#include "Platform/Shared/Descriptor.h"

#include <QSocketNotifier>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// Reads everything that another program offers as the contents of one selection of a Wayland
/// session, through a pipe for each type.
///
/// It asks for one type after the other, text first: owners, and what stands for those of X11,
/// often answer but one request at a time. Only when the owner has kept silent for a while does it
/// ask for the next one beside. A type counts when its end has come: what is not there by the
/// deadline, or does not fit, is left out, and so is a type without a byte, since refusals look the
/// same. Main loop; nothing waits.
class OfferReader {
public:
    /// Lets the owner write `type` into a pipe; false when nothing is offered any more.
    using Ask = std::function<bool(const std::string& type, const Descriptor& end)>;

    /// Starts; `loop` must outlive it. Finishes `collector` when all is read, or after `time`.
    OfferReader(MainLoop& loop, std::vector<std::string> types, Ask ask,
                std::shared_ptr<SnapshotCollector> collector, std::size_t mostBytes, Duration time);
    OfferReader(const OfferReader&) = delete;
    OfferReader& operator=(const OfferReader&) = delete;
    /// Finishes with what is there.
    ~OfferReader();

    /// Reads something else from the beginning: the contents have been replaced.
    void startAnew(std::vector<std::string> types);

    bool finished() const { return collector->finished(); }

private:
    struct Pipe {
        std::string type;
        Descriptor end;
        std::vector<std::uint8_t> bytes;
        std::unique_ptr<QSocketNotifier> readable;
    };

    void list(std::vector<std::string> types);
    void askNext();
    bool open(const std::string& type);
    void arrived(Pipe& pipe);
    void close(const Pipe& pipe);
    void finish();

    MainLoop& loop;
    const Ask ask;
    const std::shared_ptr<SnapshotCollector> collector;
    const std::size_t mostBytes;
    std::size_t heldBytes = 0;
    std::deque<std::string> waiting;
    std::vector<std::unique_ptr<Pipe>> pipes;
    /// Until the owner counts as silent.
    Timer silence;
    Timer deadline;
};

} // namespace vorlin
