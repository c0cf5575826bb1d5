#include "App/Linux/Guard/Compositor.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace vorlin {

namespace {

/// A compositor that takes longer hangs.
constexpr std::chrono::seconds patience{10};

} // namespace

Compositor::Compositor(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    Descriptor opened(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (opened && ::connect(opened.number(), reinterpret_cast<const sockaddr*>(&address),
                            sizeof address) == 0) {
        socket = std::move(opened);
    }
}

bool Compositor::ask(SwayRequest request, const std::string& payload)
{
    const auto bytes = swayFrame(static_cast<std::uint32_t>(request), payload);
    std::size_t sent = 0;
    while (socket && sent < bytes.size()) {
        const auto more =
            ::send(socket.number(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (more < 0 && errno != EINTR) {
            socket.close();
        }
        sent += more > 0 ? static_cast<std::size_t>(more) : 0;
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (const auto frame = await(deadline)) {
        if (frame->type == static_cast<std::uint32_t>(request)) {
            return true;
        }
    }
    return false;
}

bool Compositor::awaitBinding(const std::string& name, std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (const auto frame = await(deadline)) {
        if (frame->type == static_cast<std::uint32_t>(SwayEvent::binding) &&
            frame->payload.find(name) != std::string::npos) {
            return true;
        }
    }
    return false;
}

std::optional<SwayFrame> Compositor::await(Deadline deadline)
{
    while (socket) {
        if (auto frame = frames.next()) {
            return frame;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting{.fd = socket.number(), .events = POLLIN, .revents = 0};
        if (frames.isBroken() || left.count() <= 0 ||
            ::poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
            return std::nullopt;
        }
        std::array<char, 16384> bytes{};
        const auto got = ::recv(socket.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (got > 0) {
            frames.add({bytes.data(), static_cast<std::size_t>(got)});
        } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
            socket.close();
        }
    }
    return std::nullopt;
}

} // namespace vorlin
