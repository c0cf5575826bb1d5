#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Product/Operands.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace vorlin::mil {

namespace {

/// x [S, B, I]; D directions of H cells.
struct Sizes {
    std::int64_t steps = 0;
    std::int64_t batch = 0;
    std::int64_t inputs = 0;
    std::int64_t cells = 0;
    std::int64_t directions = 1;

    explicit Sizes(const Call& call)
    {
        const Shape& x = call.type("x").shape();
        const Shape& hidden = call.type("weight_hh").shape();
        call.require(x.size() == 3 && hidden.size() == 2 && hidden[0] == 4 * hidden[1],
                     "takes x of rank 3 and four gates of weights");
        steps = x[0];
        batch = x[1];
        inputs = x[2];
        cells = hidden[1];
        const std::string_view direction = call.text("direction", "forward");
        call.require(direction == "forward" || direction == "reverse" ||
                         direction == "bidirectional",
                     "has an unknown direction");
        directions = direction == "bidirectional" ? 2 : 1;
        for (std::string_view name : {"initial_h", "initial_c"}) {
            check(call, std::string(name), {batch, directions * cells});
        }
        for (std::int64_t i = 0; i < directions; ++i) {
            const std::string suffix = i == 0 ? "" : "_back";
            check(call, "weight_ih" + suffix, {4 * cells, inputs});
            check(call, "weight_hh" + suffix, {4 * cells, cells});
            check(call, "bias" + suffix, {4 * cells});
            check(call, "peephole" + suffix, {3 * cells});
        }
    }

    static void check(const Call& call, const std::string& name, const Shape& shape)
    {
        if (!call.has(name)) {
            call.require(!name.starts_with("weight") && !name.starts_with("initial"),
                         "lacks the weights of its second direction");
            return;
        }
        const TensorType& type = call.type(name).type;
        if (!isComputed(type.element) || type.shape != shape) {
            call.fail("needs '" + name + "' of shape " + describe(shape) + ", gets " +
                      describe(type));
        }
    }
};

struct Activation {
    UnaryFunction function = UnaryFunction::linearActivation;
    double alpha = 1;
    double beta = 0;
};

Activation activationOf(const Call& call, std::string_view parameter, std::string_view otherwise)
{
    const std::string name = call.word(parameter, otherwise);
    if (name == "sigmoid") {
        return {UnaryFunction::sigmoid};
    }
    if (name == "tanh") {
        return {UnaryFunction::hyperbolicTangent};
    }
    if (name == "hard_sigmoid" || name == "sigmoid_hard") {
        return {UnaryFunction::hardSigmoid, 0.2, 0.5};
    }
    if (name == "relu") {
        return {UnaryFunction::relu};
    }
    if (name == "scaled_tanh") { // nothing in the operation sets another scale than 1
        return {UnaryFunction::hyperbolicTangent};
    }
    call.require(name == "linear", "has an unknown activation");
    return {};
}

/// What a direction works with, in single precision. Belongs to the calling thread and keeps
/// its memory from call to call.
struct Workspace {
    std::vector<float> projected; // x W' + b of some steps: [steps, B, 4H]
    std::vector<float> recurrent; // h R' of one step: [B, 4H]
    std::vector<float> hidden;    // [B, H]
    std::vector<float> cell;      // [B, H]
    std::vector<float> peephole;  // [3H] or empty
    std::vector<float> results;   // [S, B, H] or [B, H]
};

TensorBuffer floats(std::vector<float>& memory, Shape shape)
{
    memory.resize(static_cast<std::size_t>(elementCount(shape)));
    return {{ElementType::fp32, shape}, reinterpret_cast<std::byte*>(memory.data())};
}

class Direction {
public:
    Direction(const Call& call, const Sizes& sizes, std::int64_t index, Workspace& work)
        : call(call), sizes(sizes), index(index), suffix(index == 0 ? "" : "_back"), work(work),
          recurrent(activationOf(call, "recurrent_activation", "sigmoid")),
          candidate(activationOf(call, "cell_activation", "tanh")),
          output(activationOf(call, "activation", "tanh")),
          clip(call.number("clip", std::numeric_limits<double>::infinity())),
          apply(call.referenceKernels() ? reference::applyUnary : applyUnary)
    {
    }

    void run(bool backwards, bool wholeSequence)
    {
        loadStates();
        const std::int64_t area = sizes.batch * sizes.cells;
        work.results.resize(static_cast<std::size_t>(wholeSequence ? sizes.steps * area : area));
        // Projected together as long as it takes little memory.
        constexpr std::int64_t mostFloats = std::int64_t{1} << 20;
        const std::int64_t block =
            std::max<std::int64_t>(1, mostFloats / std::max<std::int64_t>(4 * area, 1));
        for (std::int64_t i = 0; i < sizes.steps; ++i) {
            call.checkStop();
            if (i % block == 0) {
                const std::int64_t count = std::min(block, sizes.steps - i);
                project(backwards ? sizes.steps - i - count : i, count);
            }
            step(backwards ? sizes.steps - 1 - i : i);
            if (wholeSequence) {
                std::copy_n(work.hidden.data(), area, work.results.data() + i * area);
            }
        }
        if (!wholeSequence) {
            std::copy_n(work.hidden.data(), area, work.results.data());
        }
    }

private:
    void loadStates()
    {
        const std::int64_t h = sizes.cells;
        floats(work.hidden, {sizes.batch, h});
        floats(work.cell, {sizes.batch, h});
        for (std::int64_t b = 0; b < sizes.batch; ++b) {
            const std::int64_t from = b * sizes.directions * h + index * h;
            loadFloats(call.input("initial_h"), from, h, work.hidden.data() + b * h);
            loadFloats(call.input("initial_c"), from, h, work.cell.data() + b * h);
        }
        work.peephole.clear();
        if (call.has("peephole" + suffix)) {
            work.peephole.resize(static_cast<std::size_t>(3 * h));
            loadFloats(call.input("peephole" + suffix), 0, 3 * h, work.peephole.data());
        }
    }

    MatrixRows weights(const std::string& name, std::int64_t inner) const
    {
        const StoredValues* const stored = call.stored(name);
        return MatrixRows(
            {stored != nullptr ? call.type(name) : call.input(name), stored, 0, inner, 1});
    }

    /// x W' + b for the steps [first, first + count).
    void project(std::int64_t first, std::int64_t count)
    {
        firstProjected = first;
        const std::int64_t gates = 4 * sizes.cells;
        const std::int64_t columns = count * sizes.batch;
        const TensorBuffer target = floats(work.projected, {columns, gates});
        multiply(call, {gates, sizes.inputs, columns}, weights("weight_ih" + suffix, sizes.inputs),
                 MatrixColumns({call.input("x"), nullptr, first * sizes.batch * sizes.inputs, 1,
                                sizes.inputs}),
                 MatrixSink({target, 0, 1, gates},
                            call.has("bias" + suffix) ? &call.input("bias" + suffix) : nullptr));
    }

    void step(std::int64_t time)
    {
        const std::int64_t h = sizes.cells;
        const TensorBuffer target = floats(work.recurrent, {sizes.batch, 4 * h});
        const TensorView hidden{{ElementType::fp32, {sizes.batch, h}},
                                reinterpret_cast<const std::byte*>(work.hidden.data())};
        multiply(call, {4 * h, h, sizes.batch}, weights("weight_hh" + suffix, h),
                 MatrixColumns({hidden, nullptr, 0, 1, h}),
                 MatrixSink({target, 0, 1, 4 * h}, nullptr));
        for (std::int64_t b = 0; b < sizes.batch; ++b) {
            float* const gates = work.recurrent.data() + b * 4 * h;
            const float* const projected =
                work.projected.data() + ((time - firstProjected) * sizes.batch + b) * 4 * h;
            for (std::int64_t i = 0; i < 4 * h; ++i) {
                gates[i] += projected[i];
            }
            update(gates, work.hidden.data() + b * h, work.cell.data() + b * h);
        }
    }

    /// Gates in the order i, f, o, z. Input and forget gates see the cell of the step before,
    /// the output gate the new one.
    void update(float* gates, float* hidden, float* cell) const
    {
        const std::int64_t h = sizes.cells;
        const float* const peephole = work.peephole.empty() ? nullptr : work.peephole.data();
        for (std::int64_t i = 0; peephole != nullptr && i < 2 * h; ++i) {
            gates[i] += peephole[i] * cell[i % h];
        }
        activate(recurrent, gates, 2 * h);
        activate(candidate, gates + 3 * h, h);
        const auto limit = static_cast<float>(clip);
        for (std::int64_t i = 0; i < h; ++i) {
            const float next = gates[h + i] * cell[i] + gates[i] * gates[3 * h + i];
            cell[i] = std::min(std::max(next, -limit), limit);
            gates[2 * h + i] += peephole != nullptr ? peephole[2 * h + i] * cell[i] : 0;
            hidden[i] = cell[i];
        }
        activate(recurrent, gates + 2 * h, h);
        activate(output, hidden, h);
        for (std::int64_t i = 0; i < h; ++i) {
            hidden[i] *= gates[2 * h + i];
        }
    }

    void activate(const Activation& activation, float* values, std::int64_t count) const
    {
        apply(activation.function, activation.alpha, activation.beta, values, count, values);
    }

    const Call& call;
    const Sizes& sizes;
    const std::int64_t index;
    const std::string suffix;
    Workspace& work;
    std::int64_t firstProjected = 0;
    const Activation recurrent;
    const Activation candidate;
    const Activation output;
    const double clip;
    void (*const apply)(UnaryFunction, double, double, const float*, std::int64_t, float*);
};

void inferLstm(const Call& call, std::vector<TensorType>& outputs)
{
    const Sizes sizes(call);
    const ElementType element = call.type("x").type.element;
    call.require(isComputed(element), "takes floating x");
    const std::int64_t steps = call.flag("output_sequence", false) ? sizes.steps : 1;
    const std::int64_t wide = sizes.directions * sizes.cells;
    outputs.push_back({element, {steps, sizes.batch, wide}});
    outputs.push_back({element, {sizes.batch, wide}});
    outputs.push_back({element, {sizes.batch, wide}});
}

void runLstm(const Call& call)
{
    const Sizes sizes(call);
    const bool wholeSequence = call.flag("output_sequence", false);
    const bool reverse = call.text("direction", "forward") == "reverse";
    const std::int64_t h = sizes.cells;
    const std::int64_t wide = sizes.directions * h;
    thread_local Workspace work;
    for (std::int64_t d = 0; d < sizes.directions; ++d) {
        const bool backwards = reverse || d == 1;
        Direction(call, sizes, d, work).run(backwards, wholeSequence);
        const std::int64_t steps = call.output().extent(0);
        for (std::int64_t i = 0; i < steps * sizes.batch; ++i) {
            // A reversed sequence stays in processing order; the backward half of a
            // bidirectional one is in the order of time.
            const std::int64_t time = d == 1 ? steps - 1 - i / sizes.batch : i / sizes.batch;
            const std::int64_t row = time * sizes.batch + i % sizes.batch;
            storeFloats(call.output(0), row * wide + d * h, h, work.results.data() + i * h);
        }
        for (std::int64_t b = 0; b < sizes.batch; ++b) {
            storeFloats(call.output(1), b * wide + d * h, h, work.hidden.data() + b * h);
            storeFloats(call.output(2), b * wide + d * h, h, work.cell.data() + b * h);
        }
    }
}

} // namespace

std::vector<OperationKind> recurrentOperations()
{
    return {{"lstm",
             "x initial_h initial_c weight_ih~ weight_hh~ bias? peephole? weight_ih_back~? "
             "weight_hh_back~? bias_back? peephole_back? direction? output_sequence? "
             "recurrent_activation? cell_activation? activation? clip?",
             inferLstm, runLstm, OperationKind::Nature::laborious}};
}

} // namespace vorlin::mil
