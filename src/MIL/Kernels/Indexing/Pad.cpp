#include "MIL/Kernels/Movement/StridedCopy.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vorlin::mil {

namespace {

/// [before, after] pairs for the last axes of x, in order.
Extents paddings(const Call& call, std::size_t rank)
{
    const Extents pad = call.integers("pad");
    call.require(pad.size() % 2 == 0 && pad.size() / 2 <= rank,
                 "needs two paddings for each padded axis");
    Extents full = Extents::filled(2 * (rank - pad.size() / 2), 0);
    for (std::int64_t amount : pad) {
        call.require(amount >= 0 && amount < (std::int64_t{1} << 31), "takes paddings from 0 up");
        full.push(amount);
    }
    return full;
}

void inferPad(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const Extents pad = paddings(call, x.shape.size());
    const std::string_view mode = call.text("mode", "constant");
    call.require(mode == "constant" || mode == "reflect" || mode == "replicate",
                 "has an unknown mode");
    call.require(bitsOf(x.element) >= 8, "takes elements of whole bytes");
    Shape shape = x.shape;
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const std::int64_t most = std::max(pad[2 * i], pad[2 * i + 1]);
        call.require(mode != "reflect" || most == 0 || most < x.shape[i],
                     "reflects more than there is");
        call.require(mode != "replicate" || most == 0 || x.shape[i] > 0,
                     "has no element to repeat");
        shape[i] += pad[2 * i] + pad[2 * i + 1];
    }
    outputs.push_back({x.element, shape});
}

/// Fills what lies in front of and behind the rows of x along the only padded axis.
void fillBeside(const Call& call, std::int64_t before, std::int64_t after, std::size_t axis,
                const std::byte* value)
{
    const TensorBuffer& out = call.output();
    const std::int64_t inner = product(out.shape(), axis + 1, out.rank());
    const std::int64_t row = out.extent(axis) * inner;
    const auto fill = [&](std::int64_t first, std::int64_t count) {
        const std::size_t bytes = bitsOf(out.type.element) / 8;
        copyStrided(call, {.extents = {product(out.shape(), 0, axis), count * inner},
                           .in = value,
                           .inStrides = {0, 0},
                           .out = out.data + first * static_cast<std::int64_t>(bytes),
                           .outStrides = {row, 1},
                           .elementBytes = bytes});
    };
    fill(0, before);
    fill(row - after * inner, after);
}

void padConstant(const Call& call, const Extents& pad)
{
    const TensorView& x = call.input("x");
    const TensorBuffer& out = call.output();
    const std::size_t bytes = bitsOf(x.type.element) / 8;
    std::array<std::byte, 8> value{};
    TensorBuffer{{x.type.element, {}}, value.data()}.set(0, call.number("constant_val", 0));
    Extents padded; // axes
    for (std::size_t i = 0; i < x.rank(); ++i) {
        if (pad[2 * i] + pad[2 * i + 1] != 0) {
            padded.push(static_cast<std::int64_t>(i));
        }
    }
    if (padded.size() == 1) {
        const auto axis = static_cast<std::size_t>(padded[0]);
        fillBeside(call, pad[2 * axis], pad[2 * axis + 1], axis, value.data());
    } else {
        copyStrided(call, {.extents = {out.elements()},
                           .in = value.data(),
                           .inStrides = {0},
                           .out = out.data,
                           .outStrides = {1},
                           .elementBytes = bytes});
    }
    const Extents dense = denseStrides(out.shape());
    std::int64_t offset = 0;
    for (std::size_t i = 0; i < x.rank(); ++i) {
        offset += pad[2 * i] * dense[i];
    }
    copyStrided(call, {.extents = x.shape(),
                       .in = x.data,
                       .inStrides = denseStrides(x.shape()),
                       .out = out.data + offset * static_cast<std::int64_t>(bytes),
                       .outStrides = dense,
                       .elementBytes = bytes});
}

/// The index of x that place i of a padded axis shows.
std::int64_t source(std::int64_t i, std::int64_t extent, bool reflect)
{
    if (!reflect) {
        return std::clamp<std::int64_t>(i, 0, extent - 1);
    }
    const std::int64_t mirrored = i < 0 ? -i : i;
    return mirrored >= extent ? 2 * (extent - 1) - mirrored : mirrored;
}

void runPad(const Call& call)
{
    const TensorView& x = call.input("x");
    const TensorBuffer& out = call.output();
    const Extents pad = paddings(call, x.rank());
    const std::string_view mode = call.text("mode", "constant");
    if (mode == "constant") {
        padConstant(call, pad);
        return;
    }
    const bool reflect = mode == "reflect";
    const std::size_t bytes = bitsOf(x.type.element) / 8;
    const Extents dense = denseStrides(x.shape());
    const std::int64_t columns = out.rank() == 0 ? 1 : out.shape().back();
    const std::int64_t rows = columns == 0 ? 0 : out.elements() / columns;
    const std::size_t outer = out.rank() == 0 ? 0 : out.rank() - 1;
    const std::int64_t shift = out.rank() == 0 ? 0 : pad[2 * outer];
    const std::int64_t extent = out.rank() == 0 ? 1 : x.extent(outer);
    call.parallel(rows, std::max<std::int64_t>(1, 8192 / std::max<std::int64_t>(columns, 1)),
                  [&](std::int64_t begin, std::int64_t end) {
                      for (std::int64_t row = begin; row < end; ++row) {
                          std::int64_t rest = row;
                          std::int64_t from = 0;
                          for (std::size_t i = outer; i-- > 0;) {
                              const std::int64_t place = rest % out.extent(i) - pad[2 * i];
                              from += source(place, x.extent(i), reflect) * dense[i];
                              rest /= out.extent(i);
                          }
                          for (std::int64_t c = 0; c < columns; ++c) {
                              const std::int64_t at = from + source(c - shift, extent, reflect);
                              std::memcpy(out.data + (row * columns + c) *
                                                         static_cast<std::int64_t>(bytes),
                                          x.data + at * static_cast<std::int64_t>(bytes), bytes);
                          }
                      }
                  });
}

} // namespace

OperationKind padOperation()
{
    return {"pad", "x pad mode? constant_val?", inferPad, runPad};
}

} // namespace vorlin::mil
