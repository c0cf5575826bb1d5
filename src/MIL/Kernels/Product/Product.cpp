#include "MIL/Kernels/Elementwise/Broadcast.h"
#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Product/IntegerProduct.h"
#include "MIL/Kernels/Product/Operands.h"

#include "MIL/Error.h"

#include <algorithm>
#include <array>
#include <vector>

namespace vorlin::mil {

namespace {

/// Numbers that products take. Constants may be of another type than what they meet.
bool multiplies(ElementType element)
{
    return isComputed(element) || (isWhole(element) && element != ElementType::boolean);
}

void inferLinear(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const TensorType& weight = call.type("weight").type;
    bool fits = multiplies(x.element) && multiplies(weight.element) && !x.shape.empty() &&
                weight.shape.size() == 2 && weight.shape[1] == x.shape.back();
    if (call.has("bias")) {
        const TensorType& bias = call.type("bias").type;
        fits = fits && multiplies(bias.element) && bias.shape.size() <= 1 &&
               (elementCount(bias.shape) == 1 || bias.shape[0] == weight.shape[0]);
    }
    if (!fits) {
        call.fail("cannot multiply " + describe(x) + " with weights " + describe(weight));
    }
    Shape shape = x.shape;
    shape[shape.size() - 1] = weight.shape[0];
    outputs.push_back({x.element, shape});
}

/// One product P Q of matrices inside larger tensors.
struct Factors {
    ProductSize size;
    MatrixView p;
    MatrixView q;
    MatrixSink::Target target;
};

/// An element of a dense or stored matrix.
double numberAt(const MatrixView& matrix, std::int64_t place)
{
    if (matrix.stored == nullptr) {
        return matrix.tensor.number(place);
    }
    float value = 0;
    matrix.stored->expand(place, 1, &value);
    return static_cast<double>(value);
}

/// C = P Q + bias in 32-bit integers, which wrap. Goes along the rows of Q in memory, whichever
/// way they run.
void multiplyIntegers(const Call& call, const Factors& f, const TensorView* bias)
{
    const auto* const p = f.p.tensor.as<std::uint32_t>() + f.p.base;
    const auto* const q = f.q.tensor.as<std::uint32_t>() + f.q.base;
    thread_local std::vector<std::uint32_t> sums;
    sums.resize(static_cast<std::size_t>(f.size.columns));
    for (std::int64_t i = 0; i < f.size.rows; ++i) {
        call.checkStop();
        const std::uint32_t* const row = p + i * f.p.rowStride;
        for (std::int64_t j = 0; j < f.size.columns; ++j) {
            const std::int64_t place = bias == nullptr || bias->elements() == 1 ? 0 : j;
            std::uint32_t sum =
                bias == nullptr ? 0 : static_cast<std::uint32_t>(bias->integer(place));
            if (f.q.columnStride != 1) {
                for (std::int64_t k = 0; k < f.size.inner; ++k) {
                    sum += row[k * f.p.columnStride] * q[k * f.q.rowStride + j * f.q.columnStride];
                }
            }
            sums[static_cast<std::size_t>(j)] = sum;
        }
        for (std::int64_t k = 0; f.q.columnStride == 1 && k < f.size.inner; ++k) {
            const std::uint32_t factor = row[k * f.p.columnStride];
            for (std::int64_t j = 0; j < f.size.columns; ++j) {
                sums[static_cast<std::size_t>(j)] += factor * q[k * f.q.rowStride + j];
            }
        }
        std::copy(sums.begin(), sums.end(),
                  call.output().as<std::uint32_t>() + f.target.base + i * f.target.rowStride);
    }
}

/// C = P Q + bias where integers take part: exact among themselves, in double precision when they
/// meet floating numbers. The bias, where there is one, belongs to the columns.
void multiplyPlain(const Call& call, const Factors& f)
{
    const TensorView* const bias =
        call.operation() == "linear" && call.has("bias") ? &call.input("bias") : nullptr;
    const bool exact = isWhole(f.p.tensor.type.element) && isWhole(f.q.tensor.type.element) &&
                       (bias == nullptr || isWhole(bias->type.element));
    const auto usual = [](const TensorView* t) { return t->type.element == ElementType::int32; };
    if (usual(&f.p.tensor) && usual(&f.q.tensor) && (bias == nullptr || usual(bias))) {
        multiplyIntegers(call, f, bias);
        return;
    }
    const bool singleBias = bias != nullptr && bias->elements() == 1;
    for (std::int64_t i = 0; i < f.size.rows; ++i) {
        call.checkStop();
        for (std::int64_t j = 0; j < f.size.columns; ++j) {
            std::uint64_t sum = 0;
            double fraction = 0;
            for (std::int64_t k = 0; k < f.size.inner; ++k) {
                const std::int64_t x = f.p.base + i * f.p.rowStride + k * f.p.columnStride;
                const std::int64_t y = f.q.base + k * f.q.rowStride + j * f.q.columnStride;
                if (exact) {
                    sum += static_cast<std::uint64_t>(f.p.tensor.integer(x)) *
                           static_cast<std::uint64_t>(f.q.tensor.integer(y));
                } else {
                    fraction += numberAt(f.p, x) * numberAt(f.q, y);
                }
            }
            const std::int64_t place = f.target.base + i * f.target.rowStride + j;
            if (exact) {
                sum += static_cast<std::uint64_t>(
                    bias != nullptr ? bias->integer(singleBias ? 0 : j) : 0);
                const auto value = static_cast<std::int64_t>(sum);
                storeIntegers(call.output(), place, 1, &value);
            } else {
                fraction += bias != nullptr ? bias->number(singleBias ? 0 : j) : 0;
                call.output().set(place, fraction);
            }
        }
    }
}

/// Whether all that takes part are floating numbers.
bool isFloatLinear(const Call& call)
{
    return isComputed(call.type("x").type.element) &&
           isComputed(call.type("weight").type.element) &&
           (!call.has("bias") || isComputed(call.type("bias").type.element));
}

/// The weights of a linear: the left factor.
struct LinearWeights {
    const StoredValues* stored;
    TensorView weight;
    ProductSize size;

    explicit LinearWeights(const Call& call)
        : stored(call.stored("weight")),
          weight(stored != nullptr ? call.type("weight") : call.input("weight")),
          size{weight.extent(0), weight.extent(1),
               product(call.type("x").shape(), 0, call.type("x").rank() - 1)}
    {
    }

    MatrixRows rows() const { return MatrixRows({weight, stored, 0, size.inner, 1}); }
    IntegerWeights::Place place() const
    {
        return {stored != nullptr ? static_cast<const void*>(stored) : weight.data, 0};
    }
};

/// y = x W' + b: the rows of W against the rows of x.
void runLinear(const Call& call)
{
    const TensorView& x = call.input("x");
    const LinearWeights weights(call);
    const auto& [rows, inner, columns] = weights.size;
    if (!isFloatLinear(call)) {
        multiplyPlain(call, {{columns, inner, rows},
                             {x, nullptr, 0, inner, 1},
                             {weights.weight, weights.stored, 0, 1, inner},
                             {call.output(), 0, rows, 1}});
        return;
    }
    const MatrixRows left = weights.rows();
    const MatrixColumns right({x, nullptr, 0, 1, inner});
    const MatrixSink sink({call.output(), 0, 1, rows},
                          call.has("bias") ? &call.input("bias") : nullptr, call.finish());
    if (call.isConstant("weight")) {
        multiplyWeights(call, weights.size, weights.place(), left, right, sink);
    } else {
        multiply(call, weights.size, left, right, sink);
    }
}

void prepareLinear(const Call& call)
{
    if (call.isConstant("weight") && isFloatLinear(call)) {
        const LinearWeights weights(call);
        prepareWeights(call, weights.size, weights.place(), weights.rows());
    }
}

/// The operands of a matmul with 1-D ones made matrices and the flags applied.
struct Matmul {
    Shape xBatch;
    Shape yBatch;
    Shape batch;
    std::int64_t rows = 0;
    std::int64_t inner = 0;
    std::int64_t columns = 0;
    bool transposeX = false;
    bool transposeY = false;
    Shape shape; // of the result

    explicit Matmul(const Call& call)
    {
        Shape x = call.type("x").shape();
        Shape y = call.type("y").shape();
        const bool rowVector = x.size() == 1;
        const bool columnVector = y.size() == 1;
        call.require(!x.empty() && !y.empty(), "takes no scalars");
        transposeX = call.flag("transpose_x", false) && !rowVector;
        transposeY = call.flag("transpose_y", false) && !columnVector;
        if (rowVector) {
            x.insert(0, 1);
        }
        if (columnVector) {
            y.push(1);
        }
        const std::size_t xr = x.size();
        const std::size_t yr = y.size();
        rows = x[transposeX ? xr - 1 : xr - 2];
        inner = x[transposeX ? xr - 2 : xr - 1];
        columns = y[transposeY ? yr - 2 : yr - 1];
        if (inner != y[transposeY ? yr - 1 : yr - 2]) {
            call.fail("cannot multiply " + describe(call.type("x").type) + " with " +
                      describe(call.type("y").type));
        }
        for (std::size_t i = 0; i + 2 < xr; ++i) {
            xBatch.push(x[i]);
        }
        for (std::size_t i = 0; i + 2 < yr; ++i) {
            yBatch.push(y[i]);
        }
        try {
            batch = broadcastShapes(xBatch, yBatch);
        } catch (const Error& error) {
            call.fail(std::string("cannot work: ") + error.what());
        }
        shape = batch;
        if (!rowVector) {
            shape.push(rows);
        }
        if (!columnVector) {
            shape.push(columns);
        }
    }
};

void inferMatmul(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const TensorType& y = call.type("y").type;
    const bool xAlone = call.isConstant("x") && !call.isConstant("y");
    const bool oneAlone = call.isConstant("x") != call.isConstant("y");
    const bool together =
        x.element == y.element || oneAlone || (isComputed(x.element) && isComputed(y.element));
    if (!multiplies(x.element) || !multiplies(y.element) || !together) {
        call.fail("does not take " + describe(x) + " and " + describe(y));
    }
    outputs.push_back({xAlone ? y.element : x.element, Matmul(call).shape});
}

/// Weights that lie as rows of columns become the left factor, as do columns when P would have
/// to be read across: C' = Q' P'.
void multiplyFactors(const Call& call, const Factors& f, bool alone)
{
    const bool turned = f.q.rowStride == 1 && f.q.columnStride != 1 &&
                        (f.q.stored != nullptr || f.p.columnStride != 1);
    const auto compute = alone ? multiply : multiplyHere;
    if (!turned) {
        compute(call, f.size, MatrixRows(f.p), MatrixColumns(f.q),
                MatrixSink(f.target, nullptr, call.finish()));
        return;
    }
    MatrixView left = f.q;
    std::swap(left.rowStride, left.columnStride);
    MatrixView right = f.p;
    std::swap(right.rowStride, right.columnStride);
    MatrixSink::Target target = f.target;
    std::swap(target.rowStride, target.columnStride);
    compute(call, {f.size.columns, f.size.inner, f.size.rows}, MatrixRows(left),
            MatrixColumns(right), MatrixSink(target, nullptr, call.finish()));
}

bool isFloatMatmul(const Call& call)
{
    return isComputed(call.type("x").type.element) && isComputed(call.type("y").type.element);
}

void multiplyAny(const Call& call, const Factors& f, bool alone)
{
    if (isComputed(f.p.tensor.type.element) && isComputed(f.q.tensor.type.element)) {
        multiplyFactors(call, f, alone);
    } else {
        multiplyPlain(call, f);
    }
}

void runMatmul(const Call& call)
{
    const Matmul m(call);
    const auto operand = [&](std::string_view name, bool transposed, std::int64_t high,
                             std::int64_t wide) {
        MatrixView view{call.type(name), call.stored(name), 0, wide, 1};
        if (view.stored == nullptr) {
            view.tensor = call.input(name);
        }
        if (transposed) {
            view.rowStride = 1;
            view.columnStride = high;
        }
        return view;
    };
    Factors factors{{m.rows, m.inner, m.columns},
                    operand("x", m.transposeX, m.rows, m.inner),
                    operand("y", m.transposeY, m.inner, m.columns),
                    {call.output(), 0, m.columns, 1}};
    const std::array<Shape, 2> shapes{m.xBatch, m.yBatch};
    const Broadcast walk(m.batch, shapes);
    const std::int64_t batches = elementCount(m.batch);
    const auto one = [&](std::int64_t index, bool alone) {
        walk.forEach(index / walk.length(), index / walk.length() + 1,
                     [&](std::int64_t, const auto& offsets) {
                         const std::int64_t step = index % walk.length();
                         Factors f = factors;
                         f.p.base = (offsets[0] + (walk.advances(0) ? step : 0)) * m.rows * m.inner;
                         f.q.base =
                             (offsets[1] + (walk.advances(1) ? step : 0)) * m.inner * m.columns;
                         f.target.base = index * m.rows * m.columns;
                         multiplyAny(call, f, alone);
                     });
    };
    if (batches == 1) {
        one(0, true);
        return;
    }
    call.parallel(batches, 1, [&](std::int64_t begin, std::int64_t) { one(begin, false); });
}

/// `nchw,nwhu->nchu` or `chw,whr->chr`, whatever the letters.
void requireKnownEquation(const Call& call, std::string_view equation, std::size_t rank)
{
    std::string plain;
    std::string letters;
    for (char c : equation) {
        if (c == ' ') {
            continue;
        }
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (letter && letters.find(c) == std::string::npos) {
            letters.push_back(c);
        }
        plain.push_back(letter ? static_cast<char>('0' + letters.find(c)) : c);
    }
    const bool known =
        (rank == 4 && plain == "0123,0324->0124") || (rank == 3 && plain == "012,213->013");
    if (!known) {
        call.fail("cannot compute the equation '" + std::string(equation) + "'");
    }
}

struct Einsum {
    // Extents of a [n, c, h, w], b [n, w, h, u] and the result [n, c, h, u].
    Shape a;
    Shape b;
    Shape result;

    explicit Einsum(const Call& call)
    {
        call.require(call.count("values") == 2, "takes two operands");
        a = call.type("values", 0).shape();
        b = call.type("values", 1).shape();
        const std::size_t rank = a.size();
        call.require((rank == 3 || rank == 4) && b.size() == rank, "takes rank 3 or 4");
        requireKnownEquation(call, call.text("equation", ""), rank);
        if (rank == 3) {
            a.insert(0, 1);
            b.insert(0, 1);
        }
        const auto stretch = [&](std::int64_t x, std::int64_t y) {
            call.require(x == y || x == 1 || y == 1, "has operands that do not go together");
            return x == 1 ? y : x;
        };
        call.require(a[3] == b[1], "has operands that do not go together");
        result = {stretch(a[0], b[0]), a[1], stretch(a[2], b[2]), b[3]};
    }
};

void inferEinsum(const Call& call, std::vector<TensorType>& outputs)
{
    const Einsum e(call);
    const TensorType& x = call.type("values", 0).type;
    call.require(multiplies(x.element) && call.type("values", 1).type.element == x.element,
                 "takes numbers of one type");
    Shape shape = e.result;
    if (x.shape.size() == 3) {
        shape.erase(0);
    }
    outputs.push_back({x.element, shape});
}

void runEinsum(const Call& call)
{
    const Einsum e(call);
    const TensorView& a = call.input("values", 0);
    const TensorView& b = call.input("values", 1);
    const Shape& r = e.result;
    call.parallel(r[0] * r[2], 1, [&](std::int64_t index, std::int64_t) {
        const std::int64_t n = index / r[2];
        const std::int64_t h = index % r[2];
        const std::int64_t an = e.a[0] == 1 ? 0 : n;
        const std::int64_t ah = e.a[2] == 1 ? 0 : h;
        const std::int64_t bn = e.b[0] == 1 ? 0 : n;
        const std::int64_t bh = e.b[2] == 1 ? 0 : h;
        const MatrixView p{a, nullptr, an * e.a[1] * e.a[2] * e.a[3] + ah * e.a[3], e.a[2] * e.a[3],
                           1};
        const MatrixView q{b, nullptr, bn * e.b[1] * e.b[2] * e.b[3] + bh * e.b[3], e.b[2] * e.b[3],
                           1};
        const MatrixSink::Target target{call.output(), n * r[1] * r[2] * r[3] + h * r[3],
                                        r[2] * r[3], 1};
        multiplyAny(call, {{r[1], e.a[3], r[3]}, p, q, target}, false);
    });
}

} // namespace

std::vector<OperationKind> productOperations()
{
    constexpr auto laborious = OperationKind::Nature::laborious;
    return {{.name = "linear",
             .signature = "x weight~ bias?",
             .infer = inferLinear,
             .run = runLinear,
             .nature = laborious,
             .takesFinish = isFloatLinear,
             .prepare = prepareLinear},
            {.name = "matmul",
             .signature = "x~ y~ transpose_x? transpose_y?",
             .infer = inferMatmul,
             .run = runMatmul,
             .nature = laborious,
             .takesFinish = isFloatMatmul},
            {"einsum", "values* equation", inferEinsum, runEinsum, laborious}};
}

} // namespace vorlin::mil
