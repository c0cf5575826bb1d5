#include "MIL/Kernels/Elementwise/Broadcast.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Normalisation/RowFunctions.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Product/Operands.h"

#include "MIL/Error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace vorlin::mil {

namespace {

Shape batchOf(const Shape& shape)
{
    Shape batch;
    for (std::size_t i = 0; i + 2 < shape.size(); ++i) {
        batch.push(shape[i]);
    }
    return batch;
}

/// softmax(Q K' / sqrt(E) + mask) V, with Q [*, L, E], K [*, S, E], V [*, S, F].
struct Attention {
    Shape batch;
    std::int64_t queries = 0; // L
    std::int64_t keys = 0;    // S
    std::int64_t width = 0;   // E
    std::int64_t values = 0;  // F

    explicit Attention(const Call& call)
    {
        const Shape& q = call.type("query").shape();
        const Shape& k = call.type("key").shape();
        const Shape& v = call.type("value").shape();
        call.require(q.size() >= 3 && k.size() == q.size() && v.size() == q.size(),
                     "takes operands of one rank from 3 up");
        const std::size_t rank = q.size();
        queries = q[rank - 2];
        width = q[rank - 1];
        keys = k[rank - 2];
        values = v[rank - 1];
        call.require(k[rank - 1] == width && v[rank - 2] == keys,
                     "has operands that do not go together");
        try {
            batch = broadcastShapes(batchOf(q), broadcastShapes(batchOf(k), batchOf(v)));
            if (call.has("attn_mask")) {
                Shape scores = batch;
                scores.push(queries);
                scores.push(keys);
                call.require(broadcastShapes(scores, call.type("attn_mask").shape()) == scores,
                             "has a mask larger than its scores");
            }
        } catch (const Error& error) {
            call.fail(std::string("cannot work: ") + error.what());
        }
    }
};

void inferAttention(const Call& call, std::vector<TensorType>& outputs)
{
    const Attention a(call);
    const ElementType element = call.type("query").type.element;
    call.require(isComputed(element) && call.type("key").type.element == element &&
                     call.type("value").type.element == element,
                 "takes floating numbers of one type");
    if (call.has("attn_mask")) {
        const ElementType mask = call.type("attn_mask").type.element;
        call.require(mask == ElementType::boolean || isComputed(mask),
                     "takes a mask of booleans or floating numbers");
    }
    Shape shape = a.batch;
    shape.push(a.queries);
    shape.push(a.values);
    outputs.push_back({element, shape});
}

/// Adds a row of the mask; false means minus infinity.
void addMask(const TensorView& mask, std::int64_t first, bool advances, std::int64_t count,
             float* scores)
{
    for (std::int64_t i = 0; i < count; ++i) {
        const double value = mask.number(first + (advances ? i : 0));
        if (mask.type.element != ElementType::boolean) {
            scores[i] += static_cast<float>(value);
        } else if (value == 0.0) {
            scores[i] = -std::numeric_limits<float>::infinity();
        }
    }
}

/// What one batch entry reads: flat starts of its matrices.
struct Starts {
    std::int64_t query = 0;
    std::int64_t key = 0;
    std::int64_t value = 0;
};

/// The queries [first, first + count) of one batch entry.
void attend(const Call& call, const Attention& a, const Starts& starts, std::int64_t index,
            std::int64_t first, std::int64_t count)
{
    thread_local std::vector<float> memory;
    memory.resize(static_cast<std::size_t>(count * a.keys));
    const TensorBuffer scores{{ElementType::fp32, {count, a.keys}},
                              reinterpret_cast<std::byte*>(memory.data())};
    multiplyHere(
        call, {count, a.width, a.keys},
        MatrixRows({call.input("query"), nullptr, starts.query + first * a.width, a.width, 1}),
        MatrixColumns({call.input("key"), nullptr, starts.key, 1, a.width}),
        MatrixSink({scores, 0, a.keys, 1}, nullptr));
    const float scale = 1.0f / std::sqrt(static_cast<float>(a.width));
    const auto softmax = call.referenceKernels() ? reference::softmaxRow : softmaxRow;
    for (std::int64_t row = 0; row < count && a.keys > 0; ++row) {
        float* const line = memory.data() + row * a.keys;
        for (std::int64_t i = 0; i < a.keys; ++i) {
            line[i] *= scale;
        }
        if (call.has("attn_mask")) {
            const TensorView& mask = call.input("attn_mask");
            Shape lines = a.batch;
            lines.push(a.queries);
            Shape perLine = mask.shape();
            const bool advances = !perLine.empty() && perLine.back() != 1;
            if (!perLine.empty()) {
                perLine.erase(perLine.size() - 1);
            }
            const std::array<Shape, 1> shapes{perLine};
            const Broadcast walk(lines, shapes);
            const std::int64_t place = index * a.queries + first + row;
            walk.forEach(place / walk.length(), place / walk.length() + 1,
                         [&](std::int64_t, const auto& offsets) {
                             const std::int64_t step = walk.advances(0) ? place % walk.length() : 0;
                             addMask(mask, (offsets[0] + step) * (advances ? a.keys : 1), advances,
                                     a.keys, line);
                         });
        }
        softmax(line, a.keys);
    }
    multiplyHere(
        call, {count, a.keys, a.values}, MatrixRows({scores.view(), nullptr, 0, a.keys, 1}),
        MatrixColumns({call.input("value"), nullptr, starts.value, a.values, 1}),
        MatrixSink({call.output(), (index * a.queries + first) * a.values, a.values, 1}, nullptr));
}

void runAttention(const Call& call)
{
    const Attention a(call);
    const std::array<Shape, 3> shapes{batchOf(call.input("query").shape()),
                                      batchOf(call.input("key").shape()),
                                      batchOf(call.input("value").shape())};
    const Broadcast walk(a.batch, shapes);
    constexpr std::int64_t together = 128; // queries
    const std::int64_t blocks = (a.queries + together - 1) / together;
    call.parallel(elementCount(a.batch) * blocks, 1, [&](std::int64_t task, std::int64_t) {
        const std::int64_t index = task / blocks;
        const std::int64_t first = task % blocks * together;
        walk.forEach(index / walk.length(), index / walk.length() + 1,
                     [&](std::int64_t, const auto& offsets) {
                         const std::int64_t step = index % walk.length();
                         const auto at = [&](std::size_t k) {
                             return offsets[k] + (walk.advances(k) ? step : 0);
                         };
                         attend(call, a,
                                {at(0) * a.queries * a.width, at(1) * a.keys * a.width,
                                 at(2) * a.keys * a.values},
                                index, first, std::min(together, a.queries - first));
                     });
    });
}

void inferBand(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    call.require(x.shape.size() >= 2 && (isComputed(x.element) || isWhole(x.element)),
                 "takes numbers of rank 2 or more");
    outputs.push_back(x);
}

/// Keeps element (m, n) of the last two axes where m - n <= lower and n - m <= upper.
void runBand(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::int64_t lower = call.integer("lower", -1);
    const std::int64_t upper = call.integer("upper", -1);
    const std::int64_t columns = x.extent(x.rank() - 1);
    const std::int64_t rows = x.extent(x.rank() - 2);
    call.parallel(x.elements(), 8192, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            const std::int64_t n = i % columns;
            const std::int64_t m = i / columns % rows;
            const bool keep = (lower < 0 || m - n <= lower) && (upper < 0 || n - m <= upper);
            call.output().set(i, keep ? x.number(i) : 0);
        }
    });
}

} // namespace

std::vector<OperationKind> attentionOperations()
{
    return {{"scaled_dot_product_attention", "query key value attn_mask?", inferAttention,
             runAttention, OperationKind::Nature::laborious},
            {"band_part", "x lower? upper?", inferBand, runBand}};
}

} // namespace vorlin::mil
