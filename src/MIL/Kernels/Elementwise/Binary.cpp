#include "MIL/Kernels/Elementwise/BinaryFunctions.h"
#include "MIL/Kernels/Elementwise/Broadcast.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"
#include "MIL/Kernels/Operations.h"

#include "MIL/Error.h"

#include <algorithm>
#include <array>

namespace vorlin::mil {

namespace {

constexpr std::int64_t grain = 16 * chunkLength;

struct Binary {
    std::string_view name;
    BinaryFunction function;
};

using enum BinaryFunction;

constexpr Binary table[] = {
    {"add", add},
    {"sub", subtract},
    {"mul", multiply},
    {"real_div", divide},
    {"floor_div", floorDivide},
    {"mod", modulo},
    {"pow", power},
    {"maximum", maximum},
    {"minimum", minimum},
    {"equal", equal},
    {"not_equal", notEqual},
    {"less", less},
    {"less_equal", lessEqual},
    {"greater", greater},
    {"greater_equal", greaterEqual},
    {"logical_and", logicalAnd},
    {"logical_or", logicalOr},
    {"logical_xor", logicalXor},
};

BinaryFunction functionOf(const Call& call)
{
    for (const Binary& entry : table) {
        if (entry.name == call.operation()) {
            return entry.function;
        }
    }
    return add;
}

void inferBinary(const Call& call, std::vector<TensorType>& outputs)
{
    const BinaryFunction function = functionOf(call);
    const TensorType& x = call.type("x").type;
    const TensorType& y = call.type("y").type;
    const bool booleans = x.element == ElementType::boolean;
    const bool logical = function >= logicalAnd;
    if (x.element != y.element || (!isComputed(x.element) && !isWhole(x.element)) ||
        (logical && !booleans) || (booleans && !logical && !compares(function))) {
        call.fail("does not take " + describe(x) + " and " + describe(y));
    }
    try {
        outputs.push_back({compares(function) ? ElementType::boolean : x.element,
                           broadcastShapes(x.shape, y.shape)});
    } catch (const Error& error) {
        call.fail(std::string("cannot work: ") + error.what());
    }
}

/// Calls `body(first, count, x, y)` for pieces of the elements [begin, end) of at most a chunk,
/// where x and y are the flat places the operands start at.
template <class Body>
void forEachChunk(const Broadcast& walk, std::int64_t begin, std::int64_t end, Body&& body)
{
    walk.forEachIn(begin, end, [&](std::int64_t first, std::int64_t count, const auto& offsets) {
        for (std::int64_t i = 0; i < count; i += chunkLength) {
            body(first + i, std::min(chunkLength, count - i),
                 offsets[0] + (walk.advances(0) ? i : 0), offsets[1] + (walk.advances(1) ? i : 0));
        }
    });
}

void computeBinary(const Call& call, std::int64_t begin, std::int64_t end)
{
    const BinaryFunction function = functionOf(call);
    const TensorView& x = call.input("x");
    const TensorView& y = call.input("y");
    const TensorBuffer& out = call.output();
    const std::array<Shape, 2> shapes{x.shape(), y.shape()};
    const Broadcast walk(out.shape(), shapes);
    const auto apply = call.referenceKernels() ? reference::applyBinary : applyBinary;
    // The square of a single is exact in double, so a product rounds to the same.
    const bool squares =
        function == power && isComputed(y.type.element) && y.elements() == 1 && y.number(0) == 2;
    if (!isComputed(x.type.element)) {
        forEachChunk(
            walk, begin, end, [&](std::int64_t first, std::int64_t count, auto xAt, auto yAt) {
                IntegerChunk a;
                IntegerChunk b;
                std::array<std::int64_t, chunkLength> results;
                applyIntegers(function, a.load(x, xAt, count, walk.advances(0)),
                              b.load(y, yAt, count, walk.advances(1)), count, results.data());
                storeIntegers(out, first, count, results.data());
            });
        return;
    }
    forEachChunk(walk, begin, end, [&](std::int64_t first, std::int64_t count, auto xAt, auto yAt) {
        FloatChunk a;
        FloatChunk b;
        const float* const left = a.load(x, xAt, count, walk.advances(0));
        const float* const right = b.load(y, yAt, count, walk.advances(1));
        if (compares(function)) {
            compareFloats(function, left, right, count, out.as<std::uint8_t>() + first);
            return;
        }
        alignas(64) std::array<float, chunkLength> results;
        apply(squares ? multiply : function, left, squares ? left : right, count, results.data());
        storeFloats(out, first, count, results.data());
    });
}

bool linkBinary(const Call& call, Link& link)
{
    const BinaryFunction function = functionOf(call);
    link = function;
    // A power may be a square, which is a product of what a sink has only once.
    return isComputed(call.type("x").type.element) && function < equal && function != power;
}

/// `prelu` and `softplus_parametric`: constants by channel, which is axis 1.
void inferByChannel(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    call.require(isComputed(x.element) && x.shape.size() >= 2,
                 "needs floating x of rank 2 or more");
    for (std::string_view name : {"alpha", "beta"}) {
        if (name == "beta" && call.operation() == "prelu") {
            continue;
        }
        const TensorType& constants = call.type(name).type;
        call.require(isComputed(constants.element) && constants.shape.size() == 1 &&
                         (constants.shape[0] == x.shape[1] || constants.shape[0] == 1),
                     "needs one constant for each channel");
    }
    outputs.push_back(x);
}

void runByChannel(const Call& call)
{
    const TensorView& x = call.input("x");
    const TensorView& alpha = call.input("alpha");
    const bool isPrelu = call.operation() == "prelu";
    const std::int64_t channels = x.extent(1);
    const std::int64_t inner = product(x.shape(), 2, x.rank());
    call.parallel(
        x.extent(0) * channels, std::max<std::int64_t>(1, grain / std::max<std::int64_t>(inner, 1)),
        [&](std::int64_t begin, std::int64_t end) {
            for (std::int64_t row = begin; row < end; ++row) {
                const std::int64_t channel = row % channels;
                const double a = alpha.number(alpha.extent(0) == 1 ? 0 : channel);
                double b = 0;
                if (!isPrelu) {
                    const TensorView& beta = call.input("beta");
                    b = beta.number(beta.extent(0) == 1 ? 0 : channel);
                }
                for (std::int64_t i = row * inner; i < (row + 1) * inner; ++i) {
                    const double value = x.number(i);
                    call.output().set(
                        i, isPrelu
                               ? reference::unary(UnaryFunction::leakyRelu, value, a, 0)
                               : a * reference::unary(UnaryFunction::softplus, b * value, 0, 0));
                }
            }
        });
}

void inferNot(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    call.require(x.element == ElementType::boolean, "takes booleans");
    outputs.push_back(x);
}

void computeNot(const Call& call, std::int64_t begin, std::int64_t end)
{
    const TensorView& x = call.input("x");
    std::byte* const out = call.output().data;
    for (std::int64_t i = begin; i < end; ++i) {
        out[i] = x.data[i] == std::byte{0} ? std::byte{1} : std::byte{0};
    }
}

} // namespace

std::vector<OperationKind> binaryOperations()
{
    std::vector<OperationKind> kinds;
    for (const Binary& entry : table) {
        kinds.push_back({.name = entry.name,
                         .signature = "x y",
                         .infer = inferBinary,
                         .part = computeBinary,
                         .link = linkBinary});
    }
    kinds.push_back(
        {.name = "logical_not", .signature = "x", .infer = inferNot, .part = computeNot});
    kinds.push_back({"prelu", "x alpha", inferByChannel, runByChannel});
    kinds.push_back({"softplus_parametric", "x alpha beta", inferByChannel, runByChannel});
    return kinds;
}

} // namespace vorlin::mil
