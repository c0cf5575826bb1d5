#include "MIL/Kernels/Elementwise/Broadcast.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"

#include "MIL/Error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace vorlin::mil {

namespace {

void inferSelect(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& condition = call.type("cond").type;
    const TensorType& a = call.type("a").type;
    const TensorType& b = call.type("b").type;
    if (condition.element != ElementType::boolean || a.element != b.element ||
        bitsOf(a.element) < 8) {
        call.fail("does not take " + describe(condition) + ", " + describe(a) + " and " +
                  describe(b));
    }
    try {
        outputs.push_back(
            {a.element, broadcastShapes(condition.shape, broadcastShapes(a.shape, b.shape))});
    } catch (const Error& error) {
        call.fail(std::string("cannot work: ") + error.what());
    }
}

/// One run. Which operands advance is known to the compiler, so that it can use vectors.
template <class T, bool ConditionMoves, bool AMoves, bool BMoves>
void selectRun(const std::uint8_t* condition, const T* a, const T* b, std::int64_t count, T* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        const T left = a[AMoves ? i : 0];
        const T right = b[BMoves ? i : 0];
        out[i] = condition[ConditionMoves ? i : 0] != 0 ? left : right;
    }
}

template <class T>
auto* selectRunOf(const Broadcast& walk)
{
    static constexpr decltype(&selectRun<T, true, true, true>) forms[] = {
        selectRun<T, false, false, false>, selectRun<T, false, false, true>,
        selectRun<T, false, true, false>,  selectRun<T, false, true, true>,
        selectRun<T, true, false, false>,  selectRun<T, true, false, true>,
        selectRun<T, true, true, false>,   selectRun<T, true, true, true>};
    return forms[(walk.advances(0) ? 4 : 0) + (walk.advances(1) ? 2 : 0) +
                 (walk.advances(2) ? 1 : 0)];
}

template <class T>
void select(const Call& call, const Broadcast& walk, std::int64_t begin, std::int64_t end)
{
    const auto* const condition = call.input("cond").as<std::uint8_t>();
    const T* const a = call.input("a").as<T>();
    const T* const b = call.input("b").as<T>();
    T* const out = call.output().as<T>();
    const auto run = selectRunOf<T>(walk);
    walk.forEachIn(begin, end, [&](std::int64_t first, std::int64_t count, const auto& offsets) {
        for (std::int64_t i = 0; i < count; i += chunkLength) {
            const auto at = [&](std::size_t operand) {
                return offsets[operand] + (walk.advances(operand) ? i : 0);
            };
            // The output may lie where an operand does.
            std::array<T, chunkLength> chosen;
            const std::int64_t piece = std::min(chunkLength, count - i);
            run(condition + at(0), a + at(1), b + at(2), piece, chosen.data());
            std::copy_n(chosen.data(), piece, out + first + i);
        }
    });
}

void computeSelect(const Call& call, std::int64_t begin, std::int64_t end)
{
    const std::array<Shape, 3> shapes{call.input("cond").shape(), call.input("a").shape(),
                                      call.input("b").shape()};
    const Broadcast walk(call.output().shape(), shapes);
    switch (bitsOf(call.output().type.element)) {
    case 8: select<std::uint8_t>(call, walk, begin, end); break;
    case 16: select<std::uint16_t>(call, walk, begin, end); break;
    case 32: select<std::uint32_t>(call, walk, begin, end); break;
    default: select<std::uint64_t>(call, walk, begin, end); break;
    }
}

void inferCast(const Call& call, std::vector<TensorType>& outputs)
{
    const auto type = elementTypeNamed(call.text("dtype", ""));
    const TensorType& x = call.type("x").type;
    if (!type || (!isComputed(*type) && !isWhole(*type)) ||
        (!isComputed(x.element) && !isWhole(x.element))) {
        call.fail("cannot turn " + describe(x) + " into '" + std::string(call.text("dtype", "")) +
                  "'");
    }
    outputs.push_back({*type, x.shape});
}

/// Toward zero; what does not fit becomes the nearest number that does, not-a-number zero.
std::int64_t truncate(float value, ElementType type)
{
    const auto lowest = static_cast<double>(lowestOf(type));
    const auto highest = static_cast<double>(highestOf(type));
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::int64_t>(
        std::min(std::max(static_cast<double>(value), lowest), highest));
}

void castChunk(const TensorView& x, const TensorBuffer& out, std::int64_t first, std::int64_t count)
{
    alignas(64) std::array<float, chunkLength> floats;
    std::array<std::int64_t, chunkLength> integers;
    const ElementType from = x.type.element;
    const ElementType to = out.type.element;
    if (isComputed(from)) {
        loadFloats(x, first, count, floats.data());
    } else {
        loadIntegers(x, first, count, integers.data());
    }
    if (isComputed(to)) {
        for (std::int64_t i = 0; !isComputed(from) && i < count; ++i) {
            floats[static_cast<std::size_t>(i)] =
                static_cast<float>(integers[static_cast<std::size_t>(i)]);
        }
        storeFloats(out, first, count, floats.data());
        return;
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        if (to == ElementType::boolean) {
            integers[i] = isComputed(from) ? !(floats[i] == 0.0f) : integers[i] != 0;
        } else if (isComputed(from)) {
            integers[i] = truncate(floats[i], to);
        }
    }
    storeIntegers(out, first, count, integers.data());
}

void computeCast(const Call& call, std::int64_t begin, std::int64_t end)
{
    for (std::int64_t i = begin; i < end; i += chunkLength) {
        castChunk(call.input("x"), call.output(), i, std::min(chunkLength, end - i));
    }
}

} // namespace

std::vector<OperationKind> selectionOperations()
{
    return {
        {.name = "select", .signature = "cond a b", .infer = inferSelect, .part = computeSelect},
        {.name = "cast", .signature = "x dtype", .infer = inferCast, .part = computeCast}};
}

} // namespace vorlin::mil
