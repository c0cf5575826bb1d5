#include "MIL/Padding.h"

#include <array>
#include <cstring>

namespace vorlin::mil {

namespace {

/// Calls `row(from, to, count)` for the rows of the last axis of `part`: at which byte each lies
/// in `part` and in `whole`, and how many bytes it has.
template <class Row>
void forEachRow(const Shape& part, const Shape& whole, std::size_t elementBytes, const Row& row)
{
    const std::size_t rank = part.size();
    if (rank == 0) {
        row(0, 0, elementBytes);
        return;
    }
    const std::int64_t length = part[rank - 1];
    const std::size_t bytes = static_cast<std::size_t>(length) * elementBytes;
    const std::int64_t rows = length == 0 ? 0 : elementCount(part) / length;
    std::array<std::int64_t, Extents::capacity> place{};
    for (std::int64_t number = 0; number < rows; ++number) {
        std::int64_t offset = 0;
        for (std::size_t i = 0; i + 1 < rank; ++i) {
            offset = offset * whole[i] + place[i];
        }
        offset *= whole[rank - 1];
        row(static_cast<std::size_t>(number) * bytes,
            static_cast<std::size_t>(offset) * elementBytes, bytes);
        for (std::size_t i = rank - 1; i-- > 0;) {
            if (++place[i] < part[i]) {
                break;
            }
            place[i] = 0;
        }
    }
}

} // namespace

void cutDown(const TensorView& whole, const Shape& part, std::vector<std::byte>& bytes)
{
    bytes.resize(byteCount({whole.type.element, part}));
    forEachRow(part, whole.shape(), bitsOf(whole.type.element) / 8,
               [&](std::size_t from, std::size_t to, std::size_t count) {
                   std::memcpy(bytes.data() + from, whole.data + to, count);
               });
}

std::vector<std::byte> padded(const TensorView& part, const Shape& shape)
{
    std::vector<std::byte> bytes(byteCount({part.type.element, shape}));
    forEachRow(part.shape(), shape, bitsOf(part.type.element) / 8,
               [&](std::size_t from, std::size_t to, std::size_t count) {
                   std::memcpy(bytes.data() + to, part.data + from, count);
               });
    return bytes;
}

} // namespace vorlin::mil
