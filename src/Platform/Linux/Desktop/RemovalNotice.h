#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Desktop/FileWatch.h"

#include <chrono>
#include <filesystem>
#include <functional>

namespace vorlin {

/// Tells that a file is gone and nothing has come in its place, as a package's removal leaves it
/// and a replacement does not. Main loop. Where the system gives no watch it tells nothing.
class RemovalNotice {
public:
    static constexpr std::chrono::seconds patience{2};

    /// `gone` is called when the file has been away for as long as the patience, and again each
    /// time that it lasts, until the file is there once more. `loop` must outlive this object.
    RemovalNotice(std::filesystem::path file, MainLoop& loop, std::function<void()> gone);
    RemovalNotice(const RemovalNotice&) = delete;
    RemovalNotice& operator=(const RemovalNotice&) = delete;

private:
    bool isThere() const;
    void look();
    void wait();

    const std::filesystem::path file;
    MainLoop& loop;
    const std::function<void()> gone;
    Timer away;
    FileWatch watch;
};

} // namespace vorlin
