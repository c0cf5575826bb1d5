#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorlin {

/// What sway is asked, and how the answer is marked.
enum class SwayRequest : std::uint32_t {
    runCommand = 0,
    subscribe = 2,
    getTree = 4,
    getVersion = 7,
    getConfig = 9,
    getBindingState = 12,
    getInputs = 100,
};

/// What sway tells by itself, to who has subscribed to it.
enum class SwayEvent : std::uint32_t {
    workspace = 0x80000000,
    mode = 0x80000002,
    window = 0x80000003,
    binding = 0x80000005,
    shutdown = 0x80000006,
    input = 0x80000015,
};

/// One message of sway's socket: a type and JSON.
struct SwayFrame {
    std::uint32_t type = 0;
    std::string payload;

    bool isEvent() const { return (type & 0x80000000U) != 0; }
};

/// The bytes of a message: "i3-ipc", length and type in the machine's byte order, the payload.
std::string swayFrame(std::uint32_t type, std::string_view payload);

/// Cuts the bytes of a socket into messages. Trusts none of them. A value type.
class SwayFrames {
public:
    /// Longer messages are taken for damage; sway gives up on a client at 4 MB.
    static constexpr std::size_t longestPayload = std::size_t{8} << 20U;

    void add(std::string_view bytes);

    /// The oldest message that is complete; nothing when there is none, or none any more.
    std::optional<SwayFrame> next();

    /// What came is no sequence of such messages: nothing after it means anything.
    bool isBroken() const { return broken; }

private:
    std::string received;
    /// How much of it was handed out.
    std::size_t position = 0;
    bool broken = false;
};

} // namespace vorlin
