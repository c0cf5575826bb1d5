#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace vorlin {

/// Notes, from its beginning on, what leaves `root` under its name, and what is deleted in `folder`
/// wherever that is by then.
class RemovalWatch {
public:
    RemovalWatch(const std::filesystem::path& root, const std::filesystem::path& folder)
        : watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
    {
        ::inotify_add_watch(watch, root.c_str(), IN_MOVED_FROM);
        ::inotify_add_watch(watch, folder.c_str(), IN_DELETE);
    }
    RemovalWatch(const RemovalWatch&) = delete;
    RemovalWatch& operator=(const RemovalWatch&) = delete;
    ~RemovalWatch() { ::close(watch); }

    /// In order: "moved NAME" and "deleted NAME".
    std::vector<std::string> events() const
    {
        alignas(inotify_event) std::array<char, 4096> bytes{};
        const auto count = ::read(watch, bytes.data(), bytes.size());
        std::vector<std::string> seen;
        for (std::ptrdiff_t at = 0; at < count;) {
            const auto* event =
                reinterpret_cast<const inotify_event*>(&bytes.at(static_cast<std::size_t>(at)));
            if ((event->mask & (IN_MOVED_FROM | IN_DELETE)) != 0) {
                const bool moved = (event->mask & IN_MOVED_FROM) != 0;
                seen.push_back((moved ? "moved " : "deleted ") +
                               std::string(static_cast<const char*>(event->name)));
            }
            at += static_cast<std::ptrdiff_t>(sizeof *event + event->len);
        }
        return seen;
    }

private:
    const int watch;
};

} // namespace vorlin
