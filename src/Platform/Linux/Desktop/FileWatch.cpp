#include "Platform/Linux/Desktop/FileWatch.h"

#include <QSocketNotifier>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

namespace vorlin {

FileWatch::FileWatch(std::function<void()> changed)
    : changed(std::move(changed)), watches(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    if (watches) {
        notifier = std::make_unique<QSocketNotifier>(watches.number(), QSocketNotifier::Read);
        QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                         [this] { readEvents(); });
    }
}

FileWatch::~FileWatch() = default;

void FileWatch::watch(const std::filesystem::path& link, const std::filesystem::path& target)
{
    if (!watches) {
        return;
    }
    // The folder is watched, not the file: a file that is replaced is another file. Closing
    // counts, writing does not: a text half written is of no use.
    constexpr std::uint32_t events =
        IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_ONLYDIR;
    std::map<int, std::set<std::string>> watched;
    for (const auto* file : {&link, &target}) {
        const auto id = ::inotify_add_watch(watches.number(), file->parent_path().c_str(), events);
        if (id >= 0) {
            watched[id].insert(file->filename().string());
        }
    }
    for (const auto& [id, files] : names) {
        if (!watched.contains(id)) {
            ::inotify_rm_watch(watches.number(), id); // fails where its folder is gone: no matter
        }
    }
    names = std::move(watched);
}

void FileWatch::readEvents()
{
    alignas(inotify_event) std::array<char, 4096> buffer{};
    bool ours = false;
    while (true) {
        const auto count = ::read(watches.number(), buffer.data(), buffer.size());
        if (count <= 0) {
            break;
        }
        for (std::size_t at = 0; at + sizeof(inotify_event) <= static_cast<std::size_t>(count);) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            const std::string name =
                event.len == 0 ? std::string() : buffer.data() + at + sizeof event;
            at += sizeof event + event.len;
            const auto found = names.find(event.wd);
            ours = ours || (event.mask & IN_Q_OVERFLOW) != 0 ||
                   (found != names.end() && found->second.contains(name));
        }
    }
    if (ours) {
        changed();
    }
}

} // namespace vorlin
