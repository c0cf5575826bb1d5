#pragma once

#include "MIL/Kernels/Product/Multiply.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vorlin::mil {

/// A piece of A: rows [row, row + rows), columns [first, first + count).
struct LeftPiece {
    std::int64_t row = 0;
    std::int64_t rows = 0;
    std::int64_t first = 0;
    std::int64_t count = 0;
};

/// The cache lines that a piece of A lies in, handed out in about equal shares of whole rows:
/// weights are read from memory once a prediction, in rows too short for the processor to guess,
/// and would be waited for if nobody had asked.
class LinesAhead {
public:
    LinesAhead(const LeftRows& left, const LeftPiece& piece, std::int64_t shares)
        : left(left), piece(piece), shares(shares)
    {
    }

    /// The next share, as much of it as is worth asking for at once.
    std::span<const std::byte* const> next()
    {
        std::size_t count = 0;
        const std::int64_t last = piece.rows * ++share / shares;
        for (; row < last && count < lines.size(); ++row) {
            const std::span<const std::byte> bytes =
                left.lying(piece.row + row, piece.first, piece.count);
            const std::size_t end = std::min(bytes.size(), (lines.size() - count) * line);
            for (std::size_t at = 0; at < end; at += line) {
                lines[count++] = bytes.data() + at;
            }
        }
        return {lines.data(), count};
    }

private:
    static constexpr std::size_t line = 64; // bytes

    const LeftRows& left;
    const LeftPiece piece;
    const std::int64_t shares;
    std::int64_t share = 0;
    std::int64_t row = 0;
    std::array<const std::byte*, 128> lines;
};

} // namespace vorlin::mil
