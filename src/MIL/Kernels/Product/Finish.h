#pragma once

#include "MIL/Kernels/Elementwise/Link.h"
#include "MIL/Kernels/Product/FinishKernels.h"
#include "MIL/Tensor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vorlin::mil {

/// The element-wise operations behind a product, applied to each piece of its results while that is
/// in the cache: neither what the product gives nor what they hand on is written and read again.
/// Each computes what it would compute alone, rounding included.
class Finish {
public:
    /// An operation whose one operand is what comes from the one before it.
    struct Step {
        Link link;
        /// Of a binary function: the other operand, and whether it stands first. Its elements stand
        /// for themselves, or repeat, evenly, over the results.
        TensorView other;
        bool otherFirst = false;
    };

    /// Begins anew, with none; results, and what steps hand on, are of this type.
    void reset(ElementType type)
    {
        element = type;
        steps.clear();
        passes.clear();
    }
    void add(const Step& step);

    /// The operations as `finishRows` takes them, if it knows all of them.
    std::optional<std::span<const FinishPass>> inOnePass() const;

    /// Turns the elements [first, first + count) of the product, not yet rounded, into those of the
    /// last operation, not yet rounded either. Any thread, several pieces at once.
    void apply(std::int64_t first, std::int64_t count, float* values) const;

private:
    static void applyStep(const Step& step, std::int64_t first, std::int64_t count, float* values);

    ElementType element = ElementType::fp32;
    std::vector<Step> steps;
    std::vector<FinishPass> passes; // of the first steps that can be such
};

} // namespace vorlin::mil
