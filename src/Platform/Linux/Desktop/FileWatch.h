#pragma once

#include "Platform/Shared/Descriptor.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

class QSocketNotifier;

namespace vorlin {

/// Tells when a file may have been changed, replaced, made or removed, by whomever, also through
/// a symbolic link. Main loop. Where the system gives no watch it tells nothing.
class FileWatch {
public:
    /// `changed` may be called several times for one change.
    explicit FileWatch(std::function<void()> changed);
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;
    ~FileWatch();

    /// Watches `link`, and `target` where that lies elsewhere. Call it again when the folders may
    /// have been made anew; what is watched already stays watched.
    void watch(const std::filesystem::path& link, const std::filesystem::path& target);

private:
    void readEvents();

    std::function<void()> changed;
    Descriptor watches;
    /// The file names that count, by the watch of their folder.
    std::map<int, std::set<std::string>> names;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace vorlin
