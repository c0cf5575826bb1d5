// An engine process that somebody else has taken over. Preloaded into the real one, it takes every
// output out of every answer to a prediction; all else is as it was.
#include "Platform/Linux/Engine/Wire/Messages.h"

#include <dlfcn.h>
#include <sys/socket.h>

#include <span>
#include <variant>

namespace {

using namespace vorlin::engine;

// Found ahead of the confinement.
const auto realSendmsg =
    reinterpret_cast<ssize_t (*)(int, const msghdr*, int)>(::dlsym(RTLD_NEXT, "sendmsg"));

} // namespace

extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags)
{
    const iovec& part = *message->msg_iov;
    const auto reply =
        parseReply(std::span(static_cast<const std::byte*>(part.iov_base), part.iov_len));
    const auto* computed = reply ? std::get_if<ComputedReply>(&*reply) : nullptr;
    if (computed == nullptr) {
        return realSendmsg(socket, message, flags);
    }
    Packet packet = encode(Reply(ComputedReply{computed->sequence, {}}));
    iovec forgotten{.iov_base = packet.data(), .iov_len = packet.size()};
    msghdr instead = *message;
    instead.msg_iov = &forgotten;
    const ssize_t sent = realSendmsg(socket, &instead, flags);
    return sent < 0 ? sent : static_cast<ssize_t>(part.iov_len);
}
