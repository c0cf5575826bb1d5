#include "Platform/Linux/Engine/Wire/Channel.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace vorlin::engine {

namespace {

/// Room for the one descriptor that a packet carries.
struct alignas(cmsghdr) Ancillary {
    std::array<char, CMSG_SPACE(sizeof(int))> bytes{};
};

Received take(const Descriptor& end, std::span<std::byte> buffer, Ancillary* ancillary)
{
    iovec part{.iov_base = buffer.data(), .iov_len = buffer.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (ancillary != nullptr) {
        message.msg_control = ancillary->bytes.data();
        message.msg_controllen = ancillary->bytes.size();
    }
    ssize_t size = 0;
    do {
        size = ::recvmsg(end.number(), &message, MSG_CMSG_CLOEXEC | MSG_TRUNC);
    } while (size < 0 && errno == EINTR);
    if (size <= 0) {
        const bool later = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        return {.what = later ? Received::What::nothingYet : Received::What::end};
    }
    Received received{.what = Received::What::packet, .size = static_cast<std::size_t>(size)};
    const cmsghdr* header = ancillary != nullptr ? CMSG_FIRSTHDR(&message) : nullptr;
    if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS &&
        header->cmsg_len == CMSG_LEN(sizeof(int))) {
        int number = -1;
        std::memcpy(&number, CMSG_DATA(header), sizeof number);
        received.attached = Descriptor(number);
    }
    return received;
}

} // namespace

std::pair<Descriptor, Descriptor> channel()
{
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return {};
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void setPatience(const Descriptor& end, std::chrono::milliseconds patience)
{
    const timeval time{.tv_sec = patience.count() / 1000,
                       .tv_usec = patience.count() % 1000 * 1000};
    ::setsockopt(end.number(), SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

bool send(const Descriptor& end, std::span<const std::byte> packet, int attached, Waiting waiting)
{
    iovec part{.iov_base = const_cast<std::byte*>(packet.data()), .iov_len = packet.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    Ancillary ancillary;
    if (attached >= 0) {
        message.msg_control = ancillary.bytes.data();
        message.msg_controllen = ancillary.bytes.size();
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof attached);
        std::memcpy(CMSG_DATA(header), &attached, sizeof attached);
    }
    const int flags = MSG_NOSIGNAL | (waiting == Waiting::no ? MSG_DONTWAIT : 0);
    ssize_t sent = 0;
    do {
        sent = ::sendmsg(end.number(), &message, flags);
    } while (sent < 0 && errno == EINTR);
    return sent >= 0 && static_cast<std::size_t>(sent) == packet.size();
}

Received receive(const Descriptor& end, std::span<std::byte> buffer)
{
    return take(end, buffer, nullptr);
}

Received receiveAttached(const Descriptor& end, std::span<std::byte> buffer)
{
    Ancillary ancillary;
    return take(end, buffer, &ancillary);
}

} // namespace vorlin::engine
