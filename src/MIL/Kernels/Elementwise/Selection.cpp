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

constexpr std::int64_t grain = 16 * chunkLength;

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

template <class T>
void select(const Call& call, const Broadcast& walk)
{
    const auto* const condition = call.input("cond").as<std::uint8_t>();
    const T* const a = call.input("a").as<T>();
    const T* const b = call.input("b").as<T>();
    T* const out = call.output().as<T>();
    const std::int64_t step[] = {walk.advances(0), walk.advances(1), walk.advances(2)};
    call.parallel(walk.runs(), std::max<std::int64_t>(1, grain / walk.length()),
                  [&](std::int64_t begin, std::int64_t end) {
                      walk.forEach(begin, end, [&](std::int64_t run, const auto& offsets) {
                          T* const target = out + run * walk.length();
                          for (std::int64_t i = 0; i < walk.length(); ++i) {
                              target[i] = condition[offsets[0] + i * step[0]] != 0
                                              ? a[offsets[1] + i * step[1]]
                                              : b[offsets[2] + i * step[2]];
                          }
                      });
                  });
}

void runSelect(const Call& call)
{
    const std::array<Shape, 3> shapes{call.input("cond").shape(), call.input("a").shape(),
                                      call.input("b").shape()};
    const Broadcast walk(call.output().shape(), shapes);
    if (walk.runs() == 0) {
        return;
    }
    switch (bitsOf(call.output().type.element)) {
    case 8: select<std::uint8_t>(call, walk); break;
    case 16: select<std::uint16_t>(call, walk); break;
    case 32: select<std::uint32_t>(call, walk); break;
    default: select<std::uint64_t>(call, walk); break;
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

void runCast(const Call& call)
{
    const TensorView& x = call.input("x");
    call.parallel(x.elements(), grain, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; i += chunkLength) {
            castChunk(x, call.output(), i, std::min(chunkLength, end - i));
        }
    });
}

} // namespace

std::vector<OperationKind> selectionOperations()
{
    return {{"select", "cond a b", inferSelect, runSelect},
            {"cast", "x dtype", inferCast, runCast}};
}

} // namespace vorlin::mil
