#include "Platform/Linux/Desktop/RemovalNotice.h"

#include <system_error>
#include <utility>

namespace vorlin {

RemovalNotice::RemovalNotice(std::filesystem::path file, MainLoop& loop, std::function<void()> gone)
    : file(std::move(file)), loop(loop), gone(std::move(gone)), watch([this] { look(); })
{
    watch.watch(this->file, this->file);
}

bool RemovalNotice::isThere() const
{
    std::error_code error;
    // A folder that cannot be asked is no removal.
    return std::filesystem::exists(file, error) || error;
}

void RemovalNotice::look()
{
    away = {};
    if (!isThere()) {
        wait();
    }
}

void RemovalNotice::wait()
{
    away = loop.startTimer(patience, [this] {
        if (!isThere()) {
            wait();
            gone();
        }
    });
}

} // namespace vorlin
