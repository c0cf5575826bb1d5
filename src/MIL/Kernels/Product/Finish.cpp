#include "MIL/Kernels/Product/Finish.h"

#include "MIL/Kernels/Elementwise/Elements.h"

#include <algorithm>

namespace vorlin::mil {

void Finish::add(const Step& step)
{
    const bool binary = std::holds_alternative<BinaryFunction>(step.link);
    const bool fits = !binary || step.other.type.element == element;
    if (fits && passes.size() == steps.size() && passes.size() < mostPasses &&
        knowsPass(step.link)) {
        FinishPass pass{.link = step.link, .other = step.other.data, .otherFirst = step.otherFirst};
        if (binary) {
            pass.period = step.other.elements();
        }
        if (binary && pass.period == 1) {
            loadFloats(step.other, 0, 1, &pass.value);
        }
        passes.push_back(pass);
    }
    steps.push_back(step);
}

std::optional<std::span<const FinishPass>> Finish::inOnePass() const
{
    return passes.size() == steps.size() ? std::optional(std::span(passes)) : std::nullopt;
}

void Finish::apply(std::int64_t first, std::int64_t count, float* values) const
{
    for (const Step& step : steps) {
        if (element == ElementType::fp16) {
            roundToHalves(values, count);
        }
        if (const auto* const unary = std::get_if<UnaryLink>(&step.link)) {
            applyUnary(unary->function, unary->alpha, unary->beta, values, count, values);
        } else {
            applyStep(step, first, count, values);
        }
    }
}

/// A binary function, in pieces over which the other operand runs on.
void Finish::applyStep(const Step& step, std::int64_t first, std::int64_t count, float* values)
{
    const BinaryFunction function = std::get<BinaryFunction>(step.link);
    const std::int64_t period = step.other.elements();
    const bool single = period == 1;
    FloatChunk chunk;
    for (std::int64_t done = 0; done < count;) {
        const std::int64_t at = single ? 0 : (first + done) % period;
        const std::int64_t room = single ? count - done : std::min(count - done, period - at);
        const std::int64_t piece = std::min(room, chunkLength);
        const float* const other = chunk.load(step.other, at, piece, !single);
        float* const own = values + done;
        applyBinary(function, step.otherFirst ? other : own, step.otherFirst ? own : other, piece,
                    own);
        done += piece;
    }
}

} // namespace vorlin::mil
