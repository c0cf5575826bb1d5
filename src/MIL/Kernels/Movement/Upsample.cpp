#include "MIL/Kernels/Movement/StridedCopy.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vorlin::mil {

namespace {

/// The factor of one axis.
float factorOf(const Call& call, std::string_view name)
{
    const double factor = call.number(name, 1);
    call.require(factor > 0 && factor < 65536, "needs factors above 0");
    return static_cast<float>(factor);
}

bool isWhole(float factor)
{
    return factor == std::floor(factor);
}

/// floor(extent * factor), in single precision as the exporter declares it.
std::int64_t grown(std::int64_t extent, float factor)
{
    if (isWhole(factor)) {
        return extent * static_cast<std::int64_t>(factor);
    }
    return static_cast<std::int64_t>(std::floor(static_cast<float>(extent) * factor));
}

/// Which places of an axis a grown one shows, as in the original framework: floor(place / factor),
/// but where the factor was made from the two extents, floor(place * extent / grown extent). The
/// exporter then adds a ten thousandth to the grown extent, so that rounding does not lose one.
class Places {
public:
    Places(std::int64_t extent, std::int64_t shown, float factor)
        : extent(extent), isSame(shown == extent), isDouble(shown == 2 * extent)
    {
        const double length = static_cast<double>(extent) * static_cast<double>(factor);
        const double most = 2e-4 + length * 0x1p-23;
        const bool fromExtents = length - static_cast<double>(shown) < most;
        step = fromExtents ? static_cast<float>(extent) / static_cast<float>(shown)
                           : static_cast<float>(1 / static_cast<double>(factor));
    }
    std::int64_t at(std::int64_t place) const
    {
        if (isSame || isDouble) {
            return isSame ? place : place / 2;
        }
        const auto source = static_cast<std::int64_t>(std::floor(static_cast<float>(place) * step));
        return std::min(source, extent - 1);
    }

private:
    std::int64_t extent;
    bool isSame;
    bool isDouble;
    float step = 1;
};

void inferUpsample(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    call.require(x.shape.size() >= 3 && bitsOf(x.element) >= 8, "needs rank 3 or more");
    Shape shape = x.shape;
    std::int64_t& rows = shape[shape.size() - 2];
    std::int64_t& columns = shape[shape.size() - 1];
    rows = grown(rows, factorOf(call, "scale_factor_height"));
    columns = grown(columns, factorOf(call, "scale_factor_width"));
    outputs.push_back({x.element, shape});
}

/// Every row and column stands a whole number of times.
void repeat(const Call& call, std::int64_t high, std::int64_t wide)
{
    const TensorView& x = call.input("x");
    const TensorBuffer& out = call.output();
    const std::int64_t columns = x.extent(x.rank() - 1);
    const std::int64_t rows = product(x.shape(), 0, x.rank() - 1);
    const Extents extents{rows, high, columns, wide};
    copyStrided(call, {.extents = extents,
                       .in = x.data,
                       .inStrides = {columns, 0, 1, 0},
                       .out = out.data,
                       .outStrides = denseStrides(extents),
                       .elementBytes = bitsOf(x.type.element) / 8});
}

void runUpsample(const Call& call)
{
    const TensorView& x = call.input("x");
    const float high = factorOf(call, "scale_factor_height");
    const float wide = factorOf(call, "scale_factor_width");
    if (isWhole(high) && isWhole(wide)) {
        repeat(call, static_cast<std::int64_t>(high), static_cast<std::int64_t>(wide));
        return;
    }
    const TensorBuffer& out = call.output();
    const std::size_t bytes = bitsOf(x.type.element) / 8;
    const std::int64_t rows = x.extent(x.rank() - 2);
    const std::int64_t columns = x.extent(x.rank() - 1);
    const std::int64_t outRows = out.extent(x.rank() - 2);
    const std::int64_t outColumns = out.extent(x.rank() - 1);
    const Places rowPlaces(rows, outRows, high);
    const Places columnPlaces(columns, outColumns, wide);
    const std::int64_t count = product(out.shape(), 0, x.rank() - 1);
    const auto byte = [&](std::int64_t element) {
        return static_cast<std::size_t>(element) * bytes;
    };
    call.parallel(count, 1 + 8192 / (outColumns + 1), [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t row = begin; row < end; ++row) {
            const std::int64_t from = row / outRows * rows + rowPlaces.at(row % outRows);
            for (std::int64_t c = 0; c < outColumns; ++c) {
                std::memcpy(out.data + byte(row * outColumns + c),
                            x.data + byte(from * columns + columnPlaces.at(c)), bytes);
            }
        }
    });
}

} // namespace

OperationKind upsampleOperation()
{
    return {"upsample_nearest_neighbor", "x scale_factor_height? scale_factor_width?",
            inferUpsample, runUpsample};
}

} // namespace vorlin::mil
