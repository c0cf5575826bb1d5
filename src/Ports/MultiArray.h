#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace vorlin {

/// The element types in which a model takes and gives arrays.
enum class MLElementType { float32, float16, int32 };

/// "float32".
std::string_view nameOf(MLElementType type);

/// Bytes of one element.
constexpr std::size_t bytesOf(MLElementType type)
{
    return type == MLElementType::float16 ? 2 : 4;
}

/// An n-dimensional array of numbers with shared memory: a copy names the same elements.
/// Not synchronised.
class MultiArray {
public:
    using Extents = std::vector<std::int64_t>;

    /// An array of nothing: rank 0, no memory.
    MultiArray() = default;

    /// A dense row-major array of zeros. A negative extent, or more elements than memory can be
    /// addressed, is a fatal fault.
    MultiArray(MLElementType type, Extents shape);

    /// An array over memory of a platform's own, which stays for as long as `memory` is held.
    /// `strides` are in elements, one an axis.
    MultiArray(MLElementType type, Extents shape, Extents strides,
               std::shared_ptr<std::byte> memory);

    MLElementType elementType() const { return type; }
    const Extents& shape() const { return extents; }
    /// Distance between neighbours along each axis, in elements.
    const Extents& strides() const { return steps; }
    std::size_t rank() const { return extents.size(); }
    /// The product of the extents; 0 for an array of nothing.
    std::size_t elementCount() const;
    /// Whether the elements lie row-major and without gaps.
    bool isDense() const;

    std::byte* data() { return memory.get(); }
    const std::byte* data() const { return memory.get(); }

    /// The memory as elements of `T`, which must be the element type's own.
    template <class T>
    T* as()
    {
        return reinterpret_cast<T*>(memory.get());
    }
    template <class T>
    const T* as() const
    {
        return reinterpret_cast<const T*>(memory.get());
    }

    /// The element `offset` elements from the start of the memory, as a number.
    double number(std::int64_t offset) const;

private:
    MLElementType type = MLElementType::float32;
    Extents extents;
    Extents steps;
    std::shared_ptr<std::byte> memory;
};

} // namespace vorlin
