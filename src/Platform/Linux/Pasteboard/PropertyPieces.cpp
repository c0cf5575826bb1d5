#include "Platform/Linux/Pasteboard/PropertyPieces.h"

#include <algorithm>
#include <utility>

namespace vorlin {

PropertyPieces::State PropertyPieces::add(std::uint32_t type, std::uint8_t format,
                                          std::span<const std::uint8_t> piece, std::size_t most)
{
    if (state != State::open) {
        return state;
    }
    const bool first = value.type == 0;
    if (piece.empty()) {
        if (first) {
            value.type = type;
            value.format = format;
        }
        state = State::complete;
    } else if ((!first && (type != value.type || format != value.format)) ||
               piece.size() > most - std::min(most, value.bytes.size())) {
        state = State::rejected;
        value = {};
    } else {
        value.type = type;
        value.format = format;
        value.bytes.insert(value.bytes.end(), piece.begin(), piece.end());
    }
    return state;
}

PropertyValue PropertyPieces::take()
{
    return std::exchange(value, {});
}

} // namespace vorlin
