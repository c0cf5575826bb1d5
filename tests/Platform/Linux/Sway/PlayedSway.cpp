#include "Platform/Linux/Sway/PlayedSway.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace vorlin {

PlayedSway::PlayedSway()
{
    answer = [](const Request& request) -> std::optional<std::string> {
        switch (static_cast<SwayRequest>(request.type)) {
        case SwayRequest::runCommand: return R"([{"success":true}])";
        case SwayRequest::subscribe: return R"({"success":true})";
        default: return std::nullopt;
        }
    };
    listen();
}

PlayedSway::~PlayedSway() = default;

std::string PlayedSway::path() const
{
    return folder.filePath("socket").toStdString();
}

void PlayedSway::listen()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto where = path();
    std::memcpy(address.sun_path, where.data(), where.size());
    listener = Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(
        ::bind(listener.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener.number(), 4), 0);
    arrivals = std::make_unique<QSocketNotifier>(listener.number(), QSocketNotifier::Read);
    QObject::connect(arrivals.get(), &QSocketNotifier::activated, [this] { accept(); });
}

void PlayedSway::close()
{
    arrivals.reset();
    listener.close();
    ::unlink(path().c_str());
}

void PlayedSway::accept()
{
    client = Descriptor(::accept(listener.number(), nullptr, nullptr));
    frames = {};
    ++connections;
    readable = std::make_unique<QSocketNotifier>(client.number(), QSocketNotifier::Read);
    QObject::connect(readable.get(), &QSocketNotifier::activated, [this] { read(); });
}

void PlayedSway::read()
{
    std::array<char, 65536> bytes{};
    const auto got = ::recv(client.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got <= 0) {
        readable->setEnabled(false);
        return;
    }
    frames.add({bytes.data(), static_cast<std::size_t>(got)});
    while (const auto frame = frames.next()) {
        requests.push_back({frame->type, frame->payload});
        if (const auto reply = answer(requests.back())) {
            send(swayFrame(frame->type, *reply));
        }
    }
}

void PlayedSway::event(SwayEvent type, const std::string& payload)
{
    send(swayFrame(static_cast<std::uint32_t>(type), payload));
}

void PlayedSway::send(const std::string& bytes)
{
    std::size_t sent = 0;
    while (client && sent < bytes.size()) {
        const auto more =
            ::send(client.number(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (more <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(more);
    }
}

void PlayedSway::hangUp()
{
    readable->setEnabled(false);
    readable.release()->deleteLater(); // it may be calling us
    client.close();
}

std::vector<std::string> PlayedSway::commands() const
{
    std::vector<std::string> result;
    for (const auto& request : requests) {
        if (request.type == static_cast<std::uint32_t>(SwayRequest::runCommand)) {
            result.push_back(request.payload);
        }
    }
    return result;
}

} // namespace vorlin
