#include "Platform/Linux/Speech/ModelDefinition.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

namespace vorlin {

namespace {

constexpr std::string_view magic = "BMDF";
constexpr std::string_view swappedMagic = "FDMB";

/// Reads numbers off the front of a file's bytes; once they run out, everything fails.
class Reader {
public:
    Reader(std::string_view bytes, bool swapped) : rest(bytes), size(bytes.size()), swapped(swapped)
    {
    }

    template <class Number>
    std::optional<Number> next()
    {
        if (rest.size() < sizeof(Number)) {
            return std::nullopt;
        }
        std::array<char, sizeof(Number)> raw{};
        std::copy_n(rest.begin(), sizeof(Number), raw.begin());
        rest.remove_prefix(sizeof(Number));
        if (swapped) {
            std::ranges::reverse(raw);
        }
        return std::bit_cast<Number>(raw);
    }

    bool skip(std::int64_t bytes)
    {
        if (bytes < 0 || static_cast<std::uint64_t>(bytes) > rest.size()) {
            return false;
        }
        rest.remove_prefix(static_cast<std::size_t>(bytes));
        return true;
    }

    bool skipName()
    {
        const auto end = rest.find('\0');
        return end != std::string_view::npos && skip(static_cast<std::int64_t>(end) + 1);
    }

    std::size_t left() const { return rest.size(); }
    std::size_t position() const { return size - rest.size(); }

private:
    std::string_view rest;
    std::size_t size;
    bool swapped;
};

bool isBelow(std::optional<std::int64_t> index, std::int64_t count)
{
    return index && *index >= 0 && *index < count;
}

/// The counts at the head of the file, in its order.
struct Counts {
    std::int32_t basePhones = 0;
    std::int32_t phones = 0;
    std::int32_t states = 0;
    std::int32_t baseSenones = 0;
    std::int32_t senones = 0;
    std::int32_t transitionMatrices = 0;
    std::int32_t senoneSequences = 0;
    std::int32_t contexts = 0;
    std::int32_t treeNodes = 0;
    std::int32_t silence = 0;
};

std::optional<Counts> readCounts(Reader& reader)
{
    Counts counts;
    for (auto* count : {&counts.basePhones, &counts.phones, &counts.states, &counts.baseSenones,
                        &counts.senones, &counts.transitionMatrices, &counts.senoneSequences,
                        &counts.contexts, &counts.treeNodes, &counts.silence}) {
        const auto value = reader.next<std::int32_t>();
        if (!value || *value < 0) {
            return std::nullopt;
        }
        *count = *value;
    }
    const bool plausible =
        counts.basePhones > 0 && counts.basePhones <= 255 && counts.phones >= counts.basePhones &&
        counts.contexts == 3 && counts.baseSenones <= counts.senones && counts.senones <= 65535 &&
        counts.transitionMatrices <= counts.phones && counts.silence < counts.basePhones;
    return plausible ? std::optional(counts) : std::nullopt;
}

/// The tree that finds a phone by its neighbours: inner nodes point at nodes, leaves at phones.
bool isSoundTree(Reader& reader, const Counts& counts)
{
    for (std::int32_t i = 0; i < counts.treeNodes; ++i) {
        const auto context = reader.next<std::int16_t>();
        const auto children = reader.next<std::int16_t>();
        const auto target = reader.next<std::int32_t>();
        if (!context || !children || !target || *children < 0) {
            return false;
        }
        const std::int64_t last = std::int64_t{*target} + *children;
        // A leaf may point at no phone at all: -1.
        const bool inside = *children > 0 ? *target > i && last <= counts.treeNodes
                                          : *target >= -1 && *target < counts.phones;
        if (!inside) {
            return false;
        }
    }
    return true;
}

bool isSoundPhone(Reader& reader, const Counts& counts, bool hasNeighbours)
{
    if (!isBelow(reader.next<std::int32_t>(), counts.senoneSequences) ||
        !isBelow(reader.next<std::int32_t>(), counts.transitionMatrices) || !reader.skip(1)) {
        return false;
    }
    if (!hasNeighbours) {
        return reader.skip(3);
    }
    for (int i = 0; i < 3; ++i) {
        if (!isBelow(reader.next<std::uint8_t>(), counts.basePhones)) {
            return false;
        }
    }
    return true;
}

bool isSoundSequences(Reader& reader, const Counts& counts)
{
    const auto entries = reader.next<std::int32_t>();
    if (!entries || *entries < 0) {
        return false;
    }
    for (std::int32_t i = 0; i < *entries; ++i) {
        if (!isBelow(reader.next<std::uint16_t>(), counts.senones)) {
            return false;
        }
    }
    if (counts.states > 0) {
        return *entries == std::int64_t{counts.senoneSequences} * counts.states;
    }
    std::int64_t sum = 0;
    for (std::int32_t i = 0; i < counts.senoneSequences; ++i) {
        sum += reader.next<std::uint8_t>().value_or(*entries);
    }
    return sum <= *entries;
}

bool isSound(Reader reader)
{
    reader.skip(static_cast<std::int64_t>(magic.size()));
    const auto version = reader.next<std::int32_t>();
    const auto headerBytes = reader.next<std::int32_t>();
    if (!version || !headerBytes || !reader.skip(*headerBytes)) {
        return false;
    }
    const auto counts = readCounts(reader);
    if (!counts) {
        return false;
    }
    const std::size_t names = reader.position();
    for (std::int32_t i = 0; i < counts->basePhones; ++i) {
        if (!reader.skipName()) {
            return false;
        }
    }
    const std::size_t pastLastWord = (reader.position() - names) % 4;
    if (!reader.skip(pastLastWord == 0 ? 0 : static_cast<std::int64_t>(4 - pastLastWord)) ||
        !isSoundTree(reader, *counts)) {
        return false;
    }
    for (std::int32_t i = 0; i < counts->phones; ++i) {
        if (!isSoundPhone(reader, *counts, i >= counts->basePhones)) {
            return false;
        }
    }
    return isSoundSequences(reader, *counts);
}

} // namespace

bool isSoundModelDefinition(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    const bool swapped = bytes.starts_with(swappedMagic);
    if (!swapped && !bytes.starts_with(magic)) {
        return true;
    }
    return isSound(Reader(bytes, swapped));
}

} // namespace vorlin
