#pragma once

#include "Platform/Linux/Engine/Wire/MessageKind.h"
#include "Platform/Linux/Engine/Wire/Messages.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <utility>
#include <variant>

namespace vorlin::engine {

/// Parses messages of which most say what the one before said, but for their sequence number, which
/// follows their kind: those take no memory and next to no time. What a packet says is up to its
/// bytes alone, so that nothing is believed that parsing would not have believed.
template <class Message, std::optional<Message> (*parse)(std::span<const std::byte>)>
class RepeatedMessages {
public:
    /// What `packet` says, until the next call; null when it is no message.
    const Message* read(std::span<const std::byte> packet)
    {
        if (isAgain(packet)) {
            std::visit([&](auto& known) { renumber(known, packet); }, *message);
            return &*message;
        }
        message.reset(); // nothing is known should there be no memory for it
        last.assign(packet.begin(), packet.end());
        message = parse(packet);
        return message ? &*message : nullptr;
    }

private:
    static constexpr std::size_t numberAt = sizeof(MessageKind);
    static constexpr std::size_t afterNumber = numberAt + sizeof(std::uint64_t);

    bool isAgain(std::span<const std::byte> packet) const
    {
        const auto isNumbered = [](const auto& known) { return requires { known.sequence; }; };
        return message && std::visit(isNumbered, *message) && packet.size() == last.size() &&
               std::equal(packet.begin(), packet.begin() + numberAt, last.begin()) &&
               std::equal(packet.begin() + afterNumber, packet.end(), last.begin() + afterNumber);
    }

    template <class Known>
    static void renumber(Known& known, std::span<const std::byte> packet)
    {
        if constexpr (requires { known.sequence; }) {
            std::memcpy(&known.sequence, packet.data() + numberAt, sizeof known.sequence);
        }
    }

    std::optional<Message> message;
    Packet last;
};

using RepeatedRequests = RepeatedMessages<ModelRequest, parseModelRequest>;
using RepeatedReplies = RepeatedMessages<Reply, parseReply>;

} // namespace vorlin::engine
