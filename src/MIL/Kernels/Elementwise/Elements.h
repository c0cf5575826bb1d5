#pragma once

#include "MIL/Tensor.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vorlin::mil {

/// How many elements kernels convert and compute at a time.
constexpr std::int64_t chunkLength = 512;

/// Elements [first, first + count) of a half- or single-precision tensor as single precision.
void loadFloats(const TensorView& tensor, std::int64_t first, std::int64_t count, float* out);
/// The reverse, rounded once to the tensor's type.
void storeFloats(const TensorBuffer& tensor, std::int64_t first, std::int64_t count,
                 const float* values);

/// The same for integer and boolean tensors with elements of whole bytes; storing wraps.
void loadIntegers(const TensorView& tensor, std::int64_t first, std::int64_t count,
                  std::int64_t* out);
void storeIntegers(const TensorBuffer& tensor, std::int64_t first, std::int64_t count,
                   const std::int64_t* values);

/// Half precision to single and back; any alignment, no overlap.
void widenAll(const Half* in, std::int64_t count, float* out);
void narrowAll(const float* in, std::int64_t count, Half* out);
/// What halves keep of the values.
void roundToHalves(float* values, std::int64_t count);

/// values[i] += addends[i], or the first of them if `single`.
void addFloats(float* values, std::int64_t count, const float* addends, bool single);
/// values[i] += factor * in[i * stride], rounded twice.
void addScaled(float* values, std::int64_t count, const float* in, std::int64_t stride,
               float factor);

/// fp16 or fp32: what floating arithmetic is done on.
bool isComputed(ElementType type);
/// Integers of whole bytes up to 32 bits, and booleans.
bool isWhole(ElementType type);

/// A chunk of an operand as single precision: where it lies if it is fp32 and advances, else
/// converted into a buffer of its own.
class FloatChunk {
public:
    /// `advances` says whether the operand moves with the output; if not, its one element is
    /// repeated.
    const float* load(const TensorView& tensor, std::int64_t first, std::int64_t count,
                      bool advances);

private:
    alignas(64) std::array<float, chunkLength> buffer;
};

class IntegerChunk {
public:
    const std::int64_t* load(const TensorView& tensor, std::int64_t first, std::int64_t count,
                             bool advances);

private:
    std::array<std::int64_t, chunkLength> buffer;
};

} // namespace vorlin::mil
