#include "Models/HubAddress.h"

#include <algorithm>
#include <vector>

namespace vorlin {

namespace {

/// More than the hub gives anybody.
constexpr std::size_t longestRepository = 255;

/// The parts of `text` between slashes, without empty ones.
std::vector<std::string_view> partsOf(std::string_view text)
{
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const auto end = std::min(text.find('/'), text.size());
        if (end > 0) {
            parts.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

bool isPlain(unsigned char byte)
{
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

/// The parts of `path` as an address takes them.
std::string encoded(std::string_view path)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const auto part : partsOf(path)) {
        text += '/';
        for (const char character : part) {
            const auto byte = static_cast<unsigned char>(character);
            if (isPlain(byte)) {
                text += character;
            } else {
                text += {'%', digits[byte >> 4U], digits[byte & 15U]};
            }
        }
    }
    return text;
}

} // namespace

bool isRepository(std::string_view repository)
{
    const auto parts = partsOf(repository);
    return repository.size() <= longestRepository && parts.size() == 2 &&
           std::ranges::none_of(parts, [](auto part) { return part == "." || part == ".."; }) &&
           std::ranges::none_of(repository,
                                [](unsigned char byte) { return byte <= ' ' || byte == 0x7F; });
}

std::string repositoryName(std::string_view repository)
{
    return std::string(partsOf(repository).back());
}

std::string listingAddress(std::string_view hub, std::string_view repository)
{
    return std::string(hub) + "/api/models" + encoded(repository) + "/tree/main?recursive=true";
}

std::string fileAddress(std::string_view hub, std::string_view repository, std::string_view path)
{
    return std::string(hub) + encoded(repository) + "/resolve/main" + encoded(path);
}

} // namespace vorlin
