#include "MIL/Kernels/Stored/Forms.h"

#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Product/IntegerRounding.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vorlin::mil {

namespace {

/// Rounds each number to the type it is declared to have.
void roundTo(ElementType type, float* values, std::int64_t count)
{
    if (type != ElementType::fp16) {
        return;
    }
    std::array<Half, chunkLength> halves;
    for (std::int64_t i = 0; i < count; i += chunkLength) {
        const std::int64_t piece = std::min(chunkLength, count - i);
        narrowAll(values + i, piece, halves.data());
        widenAll(halves.data(), piece, values + i);
    }
}

} // namespace

void DenseValues::expand(std::int64_t first, std::int64_t count, float* out) const
{
    if (isComputed(tensor.type.element)) {
        loadFloats(tensor, first, count, out);
        return;
    }
    if (isInteger(tensor.type.element) && bitsOf(tensor.type.element) <= 8) {
        unpackNumbers(tensor, first, count, out);
        return;
    }
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(tensor.number(first + i));
    }
}

std::optional<ScaledBytes> DenseValues::scaledBytes(std::int64_t first,
                                                    std::int64_t /*count*/) const
{
    if (tensor.type.element != ElementType::int8) {
        return std::nullopt;
    }
    return ScaledBytes{tensor.as<std::int8_t>() + first, 1, 0};
}

ScaledValues::ScaledValues(Parts given) : parts(std::move(given))
{
    period = parts.scaleBlocks.finest();
    if (period != 0 && parts.offsets.size() == 1) {
        parts.offsets.resize(parts.scales.size(), parts.offsets.front());
        parts.offsetBlocks = parts.scaleBlocks;
    }
    if (!parts.offsets.empty() && parts.offsetBlocks.finest() != period) {
        period = 0;
    }
}

void ScaledValues::expandFine(std::int64_t first, std::int64_t count, float* out) const
{
    const bool toHalf = parts.result == ElementType::fp16;
    for (std::int64_t done = 0; done < count;) {
        const std::int64_t place = first + done;
        const std::int64_t length = std::min(period - place % period, count - done);
        const float* const scales = parts.scales.data() + parts.scaleBlocks.at(place);
        const float* const offsets =
            parts.offsets.empty() ? nullptr : parts.offsets.data() + parts.offsetBlocks.at(place);
        shiftAndScaleEach(out + done, length, offsets, scales, toHalf);
        done += length;
    }
}

void ScaledValues::expand(std::int64_t first, std::int64_t count, float* out) const
{
    const bool toHalf = parts.result == ElementType::fp16;
    parts.data->expand(first, count, out);
    if (period != 0) {
        expandFine(first, count, out);
        return;
    }
    parts.scaleBlocks.forEach(
        first, count, [&](std::int64_t at, std::int64_t length, std::int64_t block) {
            const float scale = parts.scales[static_cast<std::size_t>(block)];
            if (parts.offsets.empty()) {
                shiftAndScale(out + at, length, 0, scale, toHalf);
                return;
            }
            parts.offsetBlocks.forEach(
                first + at, length, [&](std::int64_t from, std::int64_t size, std::int64_t which) {
                    shiftAndScale(out + at + from, size,
                                  parts.offsets[static_cast<std::size_t>(which)], scale, toHalf);
                });
        });
}

void ScaledValues::expandAt(std::int64_t first, std::span<const std::int64_t> positions,
                            float* out) const
{
    parts.data->expandAt(first, positions, out);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (!parts.offsets.empty()) {
            out[i] -= parts.offsets[static_cast<std::size_t>(parts.offsetBlocks.at(positions[i]))];
        }
        out[i] *= parts.scales[static_cast<std::size_t>(parts.scaleBlocks.at(positions[i]))];
    }
    roundTo(parts.result, out, static_cast<std::int64_t>(positions.size()));
}

std::optional<ScaledBytes> ScaledValues::scaledBytes(std::int64_t first, std::int64_t count) const
{
    constexpr float largestOffset = 255;
    std::optional<ScaledBytes> bytes = parts.data->scaledBytes(first, count);
    if (!bytes || bytes->scale != 1 || bytes->offset != 0 || count == 0) {
        return std::nullopt;
    }
    const auto single = [&](const Blocks& blocks, const std::vector<float>& list) {
        const auto at = [&](std::int64_t block) { return list[static_cast<std::size_t>(block)]; };
        std::optional<float> value = at(blocks.at(first));
        blocks.forEach(first, count, [&](std::int64_t, std::int64_t, std::int64_t block) {
            value = value == at(block) ? value : std::nullopt;
        });
        return value;
    };
    const std::optional<float> scale = single(parts.scaleBlocks, parts.scales);
    const std::optional<float> offset =
        parts.offsets.empty() ? 0.0f : single(parts.offsetBlocks, parts.offsets);
    if (!scale || !offset || !(std::abs(*offset) <= largestOffset) ||
        *offset != std::nearbyint(*offset)) {
        return std::nullopt;
    }
    bytes->scale = *scale;
    bytes->offset = static_cast<std::int32_t>(*offset);
    return bytes;
}

PaletteValues::PaletteValues(Parts given)
    : parts(std::move(given)), bits(bitsOf(parts.indices.type.element))
{
    for (std::size_t i = parts.vectorAxis + 1; i < parts.shape.size(); ++i) {
        inner *= parts.shape[i];
    }
    const auto values = static_cast<std::int64_t>(parts.entries.size());
    for (std::int64_t i = 0; parts.vector == 1 && i + parts.size <= values; i += parts.size) {
        tables.emplace_back(parts.entries.data() + i, parts.size);
    }
}

std::int64_t PaletteValues::shorten(std::int64_t place, std::int64_t& lane) const
{
    lane = place / inner % parts.vector;
    return place / inner / parts.vector * inner + place % inner;
}

void PaletteValues::expand(std::int64_t first, std::int64_t count, float* out) const
{
    if (parts.vector == 1) {
        parts.blocks.forEach(first, count,
                             [&](std::int64_t at, std::int64_t length, std::int64_t block) {
                                 lookUp(parts.indices.data, bits, first + at, length,
                                        tables[static_cast<std::size_t>(block)], out + at);
                             });
        return;
    }
    for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t lane = 0;
        const std::int64_t place = shorten(first + i, lane);
        const auto index = packedBits(parts.indices.data, bits, static_cast<std::uint64_t>(place));
        out[i] = entry(parts.blocks.at(place), index, lane);
    }
}

std::span<const std::byte> PaletteValues::lying(std::int64_t first, std::int64_t count) const
{
    if (parts.vector != 1) {
        return {};
    }
    return bytesOf(parts.indices, first, count);
}

bool PaletteValues::round(std::int64_t first, std::int64_t count, float inverse,
                          std::int8_t* out) const
{
    if (parts.vector != 1 || parts.size > mostTogether) {
        return false;
    }
    parts.blocks.forEach(first, count,
                         [&](std::int64_t at, std::int64_t length, std::int64_t block) {
                             std::array<std::uint8_t, mostTogether> steps{};
                             roundToBytes(tables[static_cast<std::size_t>(block)].entries(),
                                          parts.size, inverse, 0, steps.data());
                             lookUpBytes(parts.indices.data, bits, first + at, length, steps.data(),
                                         reinterpret_cast<std::uint8_t*>(out) + at);
                         });
    return true;
}

void PaletteValues::expandAt(std::int64_t first, std::span<const std::int64_t> positions,
                             float* out) const
{
    for (std::size_t i = 0; i < positions.size(); ++i) {
        std::int64_t lane = 0;
        const std::int64_t place = shorten(positions[i], lane);
        const std::int64_t number = parts.vector == 1 ? first + static_cast<std::int64_t>(i)
                                                      : parts.mask->onesBefore(place);
        const auto index = packedBits(parts.indices.data, bits, static_cast<std::uint64_t>(number));
        out[i] = entry(parts.blocks.at(place), index, lane);
    }
}

void SparseValues::expand(std::int64_t first, std::int64_t count, float* out) const
{
    std::array<std::int64_t, chunkLength> positions;
    std::array<float, chunkLength> found;
    std::int64_t number = mask->onesBefore(first);
    for (std::int64_t at = 0; at < count; at += chunkLength) {
        const std::int64_t piece = std::min(chunkLength, count - at);
        std::size_t set = 0;
        for (std::int64_t i = 0; i < piece; ++i) {
            positions[set] = first + at + i;
            set += mask->at(first + at + i) ? 1u : 0u;
        }
        values->expandAt(number, {positions.data(), set}, found.data());
        number += static_cast<std::int64_t>(set);
        std::fill_n(out + at, piece, 0.0f);
        for (std::size_t i = 0; i < set; ++i) {
            out[positions[i] - first] = found[i];
        }
    }
}

void PlacedValues::expand(std::int64_t first, std::int64_t count, float* out) const
{
    std::array<std::int64_t, chunkLength> positions;
    for (std::int64_t at = 0; at < count; at += chunkLength) {
        const std::int64_t piece = std::min(chunkLength, count - at);
        mask->places(first + at, piece, positions.data());
        values->expandAt(first + at, {positions.data(), static_cast<std::size_t>(piece)}, out + at);
    }
}

} // namespace vorlin::mil
