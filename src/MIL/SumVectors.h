#pragma once

#include <cstdint>
#include <string>

namespace vorlin::mil {

/// The vectors in which products with few columns are summed: a step of an LSTM, a linear
/// operation on one frame. Which of them fit is decided by what the processor is and never by
/// timing it, so that a machine computes the same bits every time.
enum class SumVectors : std::uint8_t {
    fitting, // the widest, unless the processor computes 512 bits in two halves
    widest,
    narrow, // at most 256 bits
};

/// What such a product runs on in this process, for people: "AVX3, narrow products in 512 bits".
std::string describeVectors(SumVectors wanted);

} // namespace vorlin::mil
