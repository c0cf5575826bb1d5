#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vorlin {

/// Data of a property as they stand on the wire.
struct PropertyValue {
    /// An atom.
    std::uint32_t type = 0;
    /// Bits of one element: 8, 16 or 32.
    std::uint8_t format = 0;
    std::vector<std::uint8_t> bytes;
};

/// Joins the pieces of an incremental transfer. The sender is not trusted.
class PropertyPieces {
public:
    enum class State {
        /// Wants the next piece.
        open,
        /// The empty piece has come: `take` gives the whole.
        complete,
        /// More than `most` bytes, or pieces that do not belong together. For good.
        rejected,
    };

    /// Adds the next piece, unless that makes more than `most` bytes. An empty piece ends the
    /// transfer, whatever its type.
    State add(std::uint32_t type, std::uint8_t format, std::span<const std::uint8_t> piece,
              std::size_t most);

    std::size_t size() const { return value.bytes.size(); }

    /// The whole; call once, when complete.
    PropertyValue take();

private:
    PropertyValue value;
    State state = State::open;
};

} // namespace vorlin
