#pragma once

#include "MIL/Tensor.h"

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

namespace vorlin::mil {

/// A tensor read from a NumPy file, in row-major order.
struct NpyTensor {
    TensorType type;
    std::vector<std::byte> bytes;

    TensorView view() const { return {type, bytes.data()}; }
};

/// Reads a `.npy` file of version 1 to 3, little-endian, in C or Fortran order. Throws Error.
NpyTensor readNpy(const std::filesystem::path& path);

/// Writes version 1.0 in C order. Throws Error.
void writeNpy(const std::filesystem::path& path, const TensorType& type,
              std::span<const std::byte> bytes);

} // namespace vorlin::mil
