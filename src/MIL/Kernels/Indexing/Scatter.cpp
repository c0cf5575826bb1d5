#include "MIL/Kernels/Indexing/Indices.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <cstring>

namespace vorlin::mil {

namespace {

enum class Mode : std::uint8_t { add, divide, maximum, minimum, multiply, subtract, update };

Mode modeOf(const Call& call)
{
    const std::string_view text = call.text("mode", "add");
    constexpr std::pair<std::string_view, Mode> names[] = {
        {"add", Mode::add},      {"div", Mode::divide},   {"max", Mode::maximum},
        {"min", Mode::minimum},  {"mul", Mode::multiply}, {"sub", Mode::subtract},
        {"update", Mode::update}};
    for (const auto& [name, mode] : names) {
        if (name == text) {
            return mode;
        }
    }
    call.fail("has an unknown mode");
}

double combine(Mode mode, double old, double value)
{
    switch (mode) {
    case Mode::add: return old + value;
    case Mode::divide: return old / value;
    case Mode::maximum: return std::max(old, value);
    case Mode::minimum: return std::min(old, value);
    case Mode::multiply: return old * value;
    case Mode::subtract: return old - value;
    case Mode::update: return value;
    }
    return value;
}

void inferCommon(const Call& call, const Shape& updates, std::vector<TensorType>& outputs)
{
    const TensorType& data = call.type("data").type;
    const TensorType& given = call.type("updates").type;
    requireIndices(call);
    modeOf(call);
    if (given.element != data.element || given.shape != updates || bitsOf(data.element) < 8) {
        call.fail("needs updates of shape " + describe(updates) + ", gets " + describe(given));
    }
    outputs.push_back(data);
}

/// Applies updates [from, from + count) to the data at `to`.
void apply(const Call& call, Mode mode, std::int64_t to, std::int64_t from, std::int64_t count)
{
    const TensorView& updates = call.input("updates");
    const TensorBuffer& out = call.output();
    for (std::int64_t i = 0; i < count; ++i) {
        out.set(to + i, combine(mode, out.view().number(to + i), updates.number(from + i)));
    }
}

void copyData(const Call& call)
{
    const TensorView& data = call.input("data");
    std::memcpy(call.output().data, data.data, byteCount(data.type));
}

void inferScatter(const Call& call, std::vector<TensorType>& outputs)
{
    const Shape& data = call.type("data").shape();
    const Shape& indices = call.type("indices").shape();
    const std::size_t axis = call.axis("axis", 0, data.size());
    Shape updates;
    for (std::size_t i = 0; i < data.size(); ++i) {
        if (i != axis) {
            updates.push(data[i]);
            continue;
        }
        for (std::int64_t extent : indices) {
            updates.push(extent);
        }
    }
    inferCommon(call, updates, outputs);
}

void runScatter(const Call& call)
{
    copyData(call);
    const Shape& data = call.type("data").shape();
    const Indices indices(call);
    const Mode mode = modeOf(call);
    const std::size_t axis = call.axis("axis", 0, data.size());
    const std::int64_t outer = product(data, 0, axis);
    const std::int64_t inner = product(data, axis + 1, data.size());
    const std::int64_t count = call.type("indices").elements();
    for (std::int64_t o = 0; o < outer; ++o) {
        for (std::int64_t k = 0; k < count; ++k) {
            call.checkStop();
            if (indices.valid(k, data[axis])) {
                const std::int64_t place = indices.at(k, data[axis]);
                apply(call, mode, (o * data[axis] + place) * inner, (o * count + k) * inner, inner);
            }
        }
    }
}

void inferAlongAxis(const Call& call, std::vector<TensorType>& outputs)
{
    const Shape& data = call.type("data").shape();
    const Shape& indices = call.type("indices").shape();
    const std::size_t axis = call.axis("axis", 0, data.size());
    bool fits = indices.size() == data.size();
    for (std::size_t i = 0; fits && i < indices.size(); ++i) {
        fits = i == axis || indices[i] == data[i];
    }
    call.require(fits, "needs indices of the shape of data but for the axis");
    inferCommon(call, indices, outputs);
}

void runAlongAxis(const Call& call)
{
    copyData(call);
    const Shape& data = call.type("data").shape();
    const Shape& shape = call.type("indices").shape();
    const Indices indices(call);
    const Mode mode = modeOf(call);
    const std::size_t axis = call.axis("axis", 0, data.size());
    const std::int64_t inner = product(data, axis + 1, data.size());
    const std::int64_t count = elementCount(shape);
    for (std::int64_t i = 0; i < count; ++i) {
        call.checkStop();
        if (indices.valid(i, data[axis])) {
            const std::int64_t outer = i / inner / shape[axis];
            const std::int64_t place = indices.at(i, data[axis]);
            apply(call, mode, (outer * data[axis] + place) * inner + i % inner, i, 1);
        }
    }
}

void inferScatterNd(const Call& call, std::vector<TensorType>& outputs)
{
    const Shape& data = call.type("data").shape();
    const Shape& indices = call.type("indices").shape();
    call.require(!indices.empty() && indices.back() <= static_cast<std::int64_t>(data.size()),
                 "has indices for more axes than data has");
    Shape updates;
    for (std::size_t i = 0; i + 1 < indices.size(); ++i) {
        updates.push(indices[i]);
    }
    for (auto i = static_cast<std::size_t>(indices.back()); i < data.size(); ++i) {
        updates.push(data[i]);
    }
    inferCommon(call, updates, outputs);
}

void runScatterNd(const Call& call)
{
    copyData(call);
    const Shape& data = call.type("data").shape();
    const Shape& shape = call.type("indices").shape();
    const Indices indices(call);
    const Mode mode = modeOf(call);
    const std::int64_t depth = shape.back();
    const std::int64_t rows = product(shape, 0, shape.size() - 1);
    const std::int64_t inner = product(data, static_cast<std::size_t>(depth), data.size());
    for (std::int64_t row = 0; row < rows; ++row) {
        call.checkStop();
        std::int64_t place = 0;
        bool valid = true;
        for (std::int64_t i = 0; i < depth && valid; ++i) {
            const std::int64_t extent = data[static_cast<std::size_t>(i)];
            valid = indices.valid(row * depth + i, extent);
            place = valid ? place * extent + indices.at(row * depth + i, extent) : 0;
        }
        if (valid) {
            apply(call, mode, place * inner, row * inner, inner);
        }
    }
}

} // namespace

std::vector<OperationKind> scatterOperations()
{
    return {
        {"scatter", "data indices updates axis? mode? validate_indices?", inferScatter, runScatter},
        {"scatter_along_axis", "data indices updates axis? mode? validate_indices?", inferAlongAxis,
         runAlongAxis},
        {"scatter_nd", "data indices updates mode? validate_indices?", inferScatterNd,
         runScatterNd}};
}

} // namespace vorlin::mil
