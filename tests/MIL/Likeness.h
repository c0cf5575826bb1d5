#pragma once

#include "MIL/Tensor.h"

#include <cstdint>
#include <vector>

namespace vorlin::mil::test {

/// What an encoder says of an utterance: frames of `width` numbers, one behind the other.
struct Frames {
    std::int64_t width = 0;
    std::vector<double> numbers;
};

/// The first `count` frames of a [1, width, frames] tensor.
Frames framesOf(const TensorView& tensor, std::int64_t count);

/// The cosine of the angle between them.
double cosine(const Frames& a, const Frames& b);

/// The same of what makes each frame differ from the mean over all of them: what all frames have in
/// common, which may be nearly everything, does not count.
double centredCosine(const Frames& a, const Frames& b);

} // namespace vorlin::mil::test
