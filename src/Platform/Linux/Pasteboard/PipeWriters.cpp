#include "Platform/Linux/Pasteboard/PipeWriters.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

constexpr auto patience = 10s;
/// So many readers at once are none of good faith.
constexpr std::size_t mostTransfers = 64;
/// What one reader may take before others on the loop have their turn.
constexpr std::size_t pieceSize = 1U << 20U;

} // namespace

void PipeWriters::write(Descriptor end, SharedBytes data, std::function<void()> given)
{
    const int number = end.number();
    if (fcntl(number, F_SETFL, O_NONBLOCK) != 0) {
        return;
    }
    if (transfers.size() >= mostTransfers) {
        forget(*transfers.front());
    }
    auto transfer = std::make_unique<Transfer>();
    transfer->end = std::move(end);
    transfer->data = std::move(data);
    transfer->given = std::move(given);
    transfer->writable = std::make_unique<QSocketNotifier>(number, QSocketNotifier::Write);
    QObject::connect(transfer->writable.get(), &QSocketNotifier::activated,
                     transfer->writable.get(), [this, raw = transfer.get()] { go(*raw); });
    transfers.push_back(std::move(transfer));
    go(*transfers.back());
}

void PipeWriters::go(Transfer& transfer)
{
    const auto rest = std::span(*transfer.data).subspan(transfer.written);
    const auto piece = rest.first(std::min(rest.size(), pieceSize));
    const ssize_t taken =
        piece.empty() ? 0 : ::write(transfer.end.number(), piece.data(), piece.size());
    if (taken < 0 && errno != EAGAIN && errno != EINTR) {
        forget(transfer);
        return;
    }
    transfer.written += static_cast<std::size_t>(std::max<ssize_t>(taken, 0));
    if (transfer.written == transfer.data->size()) {
        const auto given = std::move(transfer.given);
        forget(transfer);
        given();
        return;
    }
    transfer.patience = loop.startTimer(patience, [this, &transfer] { forget(transfer); });
}

void PipeWriters::forget(const Transfer& transfer)
{
    const auto found =
        std::ranges::find(transfers, &transfer, [](const auto& each) { return each.get(); });
    // Its notifier may be calling us.
    (*found)->writable->setEnabled(false);
    (*found)->writable.release()->deleteLater();
    transfers.erase(found);
}

} // namespace vorlin
