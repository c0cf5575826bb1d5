#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace vorlin::mil {

/// The extents of a tensor, or another short list of integers that belong to its axes. Holds its
/// numbers in place, so that shapes cost no allocation.
class Extents {
public:
    /// A tensor has at most this many axes, half as many as a list of paddings needs.
    static constexpr std::size_t maximumRank = 12;
    static constexpr std::size_t capacity = 2 * maximumRank;
    /// The extent of an axis whose size only a prediction knows, `?` in a text.
    static constexpr std::int64_t unknown = -1;

    Extents() = default;
    Extents(std::initializer_list<std::int64_t> list)
    {
        for (std::int64_t value : list) {
            push(value);
        }
    }
    static Extents filled(std::size_t count, std::int64_t value)
    {
        Extents result;
        for (std::size_t i = 0; i < count; ++i) {
            result.push(value);
        }
        return result;
    }

    std::size_t size() const { return count; }
    bool empty() const { return count == 0; }
    bool full() const { return count == capacity; }
    std::int64_t& operator[](std::size_t i) { return values[i]; }
    std::int64_t operator[](std::size_t i) const { return values[i]; }
    const std::int64_t* begin() const { return values.data(); }
    const std::int64_t* end() const { return values.data() + count; }
    std::int64_t* begin() { return values.data(); }
    std::int64_t* end() { return values.data() + count; }
    std::int64_t back() const { return values[count - 1]; }

    /// Throws Error beyond the capacity.
    void push(std::int64_t value)
    {
        if (full()) {
            refuse();
        }
        values[count++] = value;
    }
    void insert(std::size_t position, std::int64_t value);
    void erase(std::size_t position);

    friend bool operator==(const Extents& a, const Extents& b)
    {
        if (a.count != b.count) {
            return false;
        }
        for (std::size_t i = 0; i < a.count; ++i) {
            if (a.values[i] != b.values[i]) {
                return false;
            }
        }
        return true;
    }

private:
    [[noreturn]] static void refuse();

    std::array<std::int64_t, capacity> values{};
    std::size_t count = 0;
};

using Shape = Extents;

/// Whether every extent is known.
bool isKnown(const Shape& shape);

/// The product of all extents; throws Error when it exceeds 2^40, more than any machine's memory.
std::int64_t elementCount(const Shape& shape);

/// The product of the extents [from, to).
std::int64_t product(const Shape& shape, std::size_t from, std::size_t to);

/// "[1, 188, ?]".
std::string describe(const Extents& extents);

} // namespace vorlin::mil
