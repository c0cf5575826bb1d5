#pragma once

#include "Platform/Shared/Descriptor.h"

#include <filesystem>
#include <stdexcept>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>

namespace vorlin {

/// A socket in a folder that takes connections and answers nothing.
class SilentBus {
public:
    explicit SilentBus(const std::filesystem::path& folder) : file((folder / "silent").string())
    {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        file.copy(static_cast<char*>(place.sun_path), sizeof place.sun_path - 1);
        if (::bind(socket.number(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
            ::listen(socket.number(), 1) != 0) {
            throw std::runtime_error("no socket at " + file);
        }
    }

    /// As a bus is named.
    std::string address() const { return "unix:path=" + file; }

private:
    const std::string file;
    const Descriptor socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

} // namespace vorlin
