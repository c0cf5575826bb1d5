#include "Models/HubDownload.h"

#include "Models/ByteCount.h"
#include "Models/DownloadBody.h"
#include "Models/DownloadError.h"
#include "Models/HubAddress.h"
#include "Models/ModelFolder.h"
#include "Models/Patiently.h"

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

/// The files that make the model, of a list that has all of it.
std::vector<HubItem> filesOf(const std::string& list)
{
    const auto items = decodeListing(list);
    if (const auto missing = missingNames(items); !missing.empty()) {
        throw DownloadError::incompatible(missing);
    }
    auto selected = selectedFiles(items);
    // A folder's name alone brings no files with it.
    if (const auto missing = missingNames(selected); !missing.empty()) {
        throw DownloadError::incompatible(missing);
    }
    return selected;
}

} // namespace

HubDownload::HubDownload(Needs needs, std::string repository,
                         const std::filesystem::path& destination, Downloads::OnProgress onProgress)
    : needs(std::move(needs)), repository(std::move(repository)),
      working(this->needs.folders->beside(destination)), onProgress(std::move(onProgress)),
      downloader(this->needs.http, this->needs.loop, this->needs.workers)
{
}

Task<void> HubDownload::run()
{
    std::exception_ptr failed;
    try {
        auto all = transfer();
        co_await std::move(all);
    } catch (const URLError& error) {
        failed = error.code() == URLError::Code::cancelled
                     ? std::make_exception_ptr(DownloadCancelled())
                     : std::current_exception();
    } catch (...) {
        failed = std::current_exception();
    }
    if (!failed) {
        co_return;
    }
    std::function<Done()> discard = [folder = working] {
        folder->discard();
        return Done{};
    };
    const auto discarded = patiently(needs.workers, needs.loop, std::move(discard));
    co_await discarded;
    std::rethrow_exception(failed);
}

Task<void> HubDownload::transfer()
{
    auto listed = list();
    files = co_await std::move(listed);
    total = totalSize(files);
    auto prepared = prepare();
    co_await std::move(prepared);
    runningLanes = lanes;
    endLanes = lanesEnded.completer();
    for (std::size_t i = 0; i < lanes; ++i) {
        spawn(needs.loop, lifetime.token(), lane());
    }
    co_await lanesEnded;
    if (failure) {
        std::rethrow_exception(failure);
    }
    std::function<Done()> move = [folder = working] {
        folder->moveIntoPlace();
        return Done{};
    };
    const auto moved = patiently(needs.workers, needs.loop, std::move(move));
    co_await moved;
}

/// The files that the repository has of the model.
Task<std::vector<HubItem>> HubDownload::list()
{
    const auto body = std::make_shared<ListingBody>(repository);
    HTTPRequest request{listingAddress(needs.hub, repository), std::nullopt};
    FileDownloader::OnBytes ignored = [](std::int64_t /*bytes*/) {};
    auto answered = downloader.request(std::move(request), body, std::move(ignored));
    co_await std::move(answered);
    // Not on the main loop: a list may be as long as somebody likes, within its bounds.
    std::function<std::vector<HubItem>()> choose = [body] { return filesOf(body->text()); };
    const auto chosen = patiently(needs.workers, needs.loop, std::move(choose));
    co_return co_await chosen;
}

/// The working folder, and room for everything in it.
Task<void> HubDownload::prepare()
{
    std::function<Done()> create = [folder = working, needed = static_cast<std::uint64_t>(total)] {
        folder->create();
        if (const auto free = folder->freeSpace(); free < needed) {
            throw DiskError("There is not enough room on the disk: the model needs " +
                            byteCount(needed) + ", and " + byteCount(free) + " are free.");
        }
        return Done{};
    };
    const auto created = patiently(needs.workers, needs.loop, std::move(create));
    co_await created;
}

/// Brings one file after the other, for as long as there are more and none has failed.
Task<void> HubDownload::lane()
{
    while (nextFile < files.size() && !failure) {
        const HubItem& file = files[nextFile++];
        try {
            FileDownloader::OnBytes onBytes = [this](std::int64_t bytes) { arrived(bytes); };
            auto brought = downloader.download(fileAddress(needs.hub, repository, file.path), file,
                                               working, std::move(onBytes));
            co_await std::move(brought);
        } catch (...) {
            if (!failure) {
                failure = std::current_exception();
                downloader.cancel();
            }
        }
    }
    if (--runningLanes == 0) {
        endLanes->complete({});
    }
}

void HubDownload::arrived(std::int64_t bytes)
{
    received += bytes;
    const double share = static_cast<double>(received) / static_cast<double>(total);
    onProgress(std::clamp(share, 0.0, 1.0));
}

void HubDownload::cancel()
{
    downloader.cancel();
}

void HubDownload::abandon()
{
    cancel();
    needs.workers.runPatiently(
        WorkPriority::normal, [folder = working] { folder->discard(); }, needs.loop, [] {});
}

} // namespace vorlin
