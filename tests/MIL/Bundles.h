#pragma once

#include "MIL/Model.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin::mil::test {

/// A folder of its own that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path path;
};

/// Builds the bytes of a weight file, record by record.
class WeightBytes {
public:
    WeightBytes();
    /// Appends a record of the type with that code; returns the offset to refer to it by.
    std::size_t add(std::uint32_t code, const std::vector<std::byte>& payload,
                    std::uint64_t paddingBits = 0);
    template <class T>
    std::size_t add(std::uint32_t code, const std::vector<T>& values)
    {
        const auto* raw = reinterpret_cast<const std::byte*>(values.data());
        return add(code, std::vector<std::byte>(raw, raw + values.size() * sizeof(T)));
    }
    /// Overwrites bytes anywhere.
    template <class T>
    void set(std::size_t offset, T value)
    {
        const auto* raw = reinterpret_cast<const std::byte*>(&value);
        std::copy(raw, raw + sizeof(T), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }

    std::vector<std::byte> bytes;
};

/// Writes model.mil and, if it is not empty, weights/weight.bin.
void writeBundle(const std::filesystem::path& folder, std::string_view text,
                 const std::vector<std::byte>& weights = {});

/// A program of one function with input `x` of the given type, a body, and output `y`.
std::string programOf(std::string_view type, std::string_view body,
                      std::string_view opset = "ios18");

/// Floats to and from the engine.
TensorView viewOf(const std::vector<float>& values, const Shape& shape);
std::vector<float> floatsOf(const NamedOutput& output);

} // namespace vorlin::mil::test
