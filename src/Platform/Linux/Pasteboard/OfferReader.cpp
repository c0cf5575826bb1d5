#include "Platform/Linux/Pasteboard/OfferReader.h"

#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

constexpr auto silenceLimit = 150ms;
/// Each takes two file descriptors here and there.
constexpr std::size_t mostPipes = 16;
constexpr std::size_t pieceSize = 1U << 16U;
/// What one owner may bring before others on the loop have their turn.
constexpr int piecesATurn = 16;

} // namespace

OfferReader::OfferReader(MainLoop& loop, std::vector<std::string> types, Ask ask,
                         std::shared_ptr<SnapshotCollector> collector, std::size_t mostBytes,
                         Duration time)
    : loop(loop), ask(std::move(ask)), collector(std::move(collector)), mostBytes(mostBytes),
      deadline(loop.startTimer(time, [this] { finish(); }))
{
    list(std::move(types));
    askNext();
}

OfferReader::~OfferReader()
{
    finish();
}

void OfferReader::startAnew(std::vector<std::string> types)
{
    if (finished()) {
        return;
    }
    pipes.clear();
    heldBytes = 0;
    collector->startAnew();
    list(std::move(types));
    askNext();
}

void OfferReader::list(std::vector<std::string> types)
{
    std::erase_if(types, [](const std::string& type) {
        return !isKeptTarget(type) || !pasteboardType({type, type});
    });
    std::ranges::stable_sort(types, {}, readingOrder);
    waiting.assign(types.begin(), types.end());
}

void OfferReader::askNext()
{
    while (!waiting.empty() && pipes.size() < mostPipes) {
        const std::string type = std::exchange(waiting.front(), {});
        waiting.pop_front();
        if (open(type)) {
            silence = loop.startTimer(silenceLimit, [this] { askNext(); });
            return;
        }
    }
    if (pipes.empty()) {
        finish();
    }
}

bool OfferReader::open(const std::string& type)
{
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    auto pipe = std::make_unique<Pipe>();
    pipe->type = type;
    pipe->end = Descriptor(ends[0]);
    // The end that the owner writes to waits, as they are used to; ours does not.
    const Descriptor theirs(ends[1]);
    if (fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0 || !ask(type, theirs)) {
        return false;
    }
    pipe->readable = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
    QObject::connect(pipe->readable.get(), &QSocketNotifier::activated, pipe->readable.get(),
                     [this, raw = pipe.get()] { arrived(*raw); });
    pipes.push_back(std::move(pipe));
    return true;
}

void OfferReader::arrived(Pipe& pipe)
{
    for (int piece = 0; piece < piecesATurn; ++piece) {
        const std::size_t held = pipe.bytes.size();
        pipe.bytes.resize(held + pieceSize);
        const ssize_t got = read(pipe.end.number(), pipe.bytes.data() + held, pieceSize);
        pipe.bytes.resize(held + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
            break;
        }
        if (got == 0 && !pipe.bytes.empty()) {
            collector->add(pipe.type, std::exchange(pipe.bytes, {}));
        }
        heldBytes += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        if (got <= 0 || heldBytes > mostBytes) {
            heldBytes -= pipe.bytes.size();
            close(pipe);
            return;
        }
    }
    silence = loop.startTimer(silenceLimit, [this] { askNext(); });
}

void OfferReader::close(const Pipe& pipe)
{
    const auto found = std::ranges::find(pipes, &pipe, [](const auto& each) { return each.get(); });
    // Its notifier is calling us.
    (*found)->readable->setEnabled(false);
    (*found)->readable.release()->deleteLater();
    pipes.erase(found);
    askNext();
}

void OfferReader::finish()
{
    waiting.clear();
    pipes.clear();
    silence.reset();
    deadline.reset();
    collector->finish();
}

} // namespace vorlin
