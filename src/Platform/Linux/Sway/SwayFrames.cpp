#include "Platform/Linux/Sway/SwayFrames.h"

#include <cstring>

namespace vorlin {

namespace {

constexpr std::string_view magic = "i3-ipc";
constexpr std::size_t headerBytes = magic.size() + 2 * sizeof(std::uint32_t);

std::uint32_t numberAt(std::string_view bytes, std::size_t position)
{
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + position, sizeof number);
    return number;
}

void appendNumber(std::string& bytes, std::uint32_t number)
{
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

} // namespace

std::string swayFrame(std::uint32_t type, std::string_view payload)
{
    std::string bytes(magic);
    appendNumber(bytes, static_cast<std::uint32_t>(payload.size()));
    appendNumber(bytes, type);
    return bytes.append(payload);
}

void SwayFrames::add(std::string_view bytes)
{
    if (broken) {
        return;
    }
    received.erase(0, position);
    position = 0;
    received += bytes;
}

std::optional<SwayFrame> SwayFrames::next()
{
    const auto rest = std::string_view(received).substr(position);
    const auto known = rest.substr(0, magic.size());
    if (broken || known != magic.substr(0, known.size())) {
        broken = true;
        return std::nullopt;
    }
    if (rest.size() < headerBytes) {
        return std::nullopt;
    }
    const std::size_t length = numberAt(rest, magic.size());
    if (length > longestPayload) {
        broken = true;
        return std::nullopt;
    }
    if (rest.size() - headerBytes < length) {
        return std::nullopt;
    }
    position += headerBytes + length;
    return SwayFrame{numberAt(rest, magic.size() + sizeof(std::uint32_t)),
                     std::string(rest.substr(headerBytes, length))};
}

} // namespace vorlin
