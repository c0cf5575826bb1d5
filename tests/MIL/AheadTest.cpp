#include "MIL/Graph/Operation.h"
#include "MIL/Kernels/Product/Operands.h"
#include "MIL/Kernels/Stored/Forms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <tuple>
#include <vector>

// What a product asks for before it needs it changes no result: only these tests would miss it.

namespace vorlin::mil {
namespace {

/// A row's part: row, first column, columns.
using Part = std::tuple<std::int64_t, std::int64_t, std::int64_t>;

/// Ones, which note what is read of them and what is asked for.
class WatchedRows final : public LeftRows {
public:
    mutable std::vector<Part> expanded;
    mutable std::vector<Part> asked;

    void expand(std::int64_t row, std::int64_t first, std::int64_t count, float* out) const override
    {
        expanded.emplace_back(row, first, count);
        std::fill_n(out, count, 1.0f);
    }
    std::span<const std::byte> lying(std::int64_t row, std::int64_t first,
                                     std::int64_t count) const override
    {
        asked.emplace_back(row, first, count);
        return memory;
    }

private:
    std::array<std::byte, 1024> memory{}; // as 512 halves
};

class Ones final : public RightColumns {
public:
    void pack(std::int64_t /*firstRow*/, std::int64_t rows, std::int64_t /*firstColumn*/,
              std::int64_t columns, float* out, std::int64_t stride) const override
    {
        for (std::int64_t k = 0; k < rows; ++k) {
            std::fill_n(out + k * stride, columns, 1.0f);
        }
    }
};

class Nowhere final : public ResultSink {
public:
    void store(std::int64_t /*firstRow*/, std::int64_t /*rows*/, std::int64_t /*firstColumn*/,
               std::int64_t /*columns*/, float* /*tile*/, std::int64_t /*stride*/) const override
    {
    }
};

class AheadTest : public testing::Test {
protected:
    using Multiply = void (*)(const Call&, const ProductSize&, const LeftRows&, const RightColumns&,
                              const ResultSink&);

    void multiplyWith(Multiply how, const ProductSize& size, std::size_t threads)
    {
        std::vector<std::byte> scratch;
        Execution execution;
        execution.threads = threads;
        execution.scratch = &scratch;
        const OperationKind kind{};
        const Call::Operands operands;
        const ValueTable values;
        how(Call(kind, operands, 15, values, {}, execution), size, rows, Ones(), Nowhere());
    }

    /// The parts of the rows [first, last) in the columns [from, to).
    static void addParts(std::vector<Part>& parts, std::int64_t first, std::int64_t last,
                         std::int64_t from, std::int64_t to)
    {
        for (std::int64_t row = first; row < last; ++row) {
            parts.emplace_back(row, from, to - from);
        }
    }

    WatchedRows rows;
};

TEST_F(AheadTest, aThreadAloneAsksForEachPieceWhileItComputesTheOneBefore)
{
    constexpr std::int64_t columns = 360; // two blocks
    multiplyWith(multiplyHere, {150, 1300, columns}, 1);
    const auto firstPiece = rows.expanded.begin() + 64;
    EXPECT_EQ(rows.asked, std::vector<Part>(firstPiece, rows.expanded.end()));
    EXPECT_EQ(rows.expanded.size(), 2U * 3 * 150);
}

TEST_F(AheadTest, whereThereIsTooLittleTimeForAllItAsksForTheFirst)
{
    multiplyWith(multiplyHere, {150, 1300, 5}, 1);
    EXPECT_GT(rows.asked.size(), rows.expanded.size() / 2);
    auto next = rows.expanded.begin() + 64;
    for (const Part& part : rows.asked) {
        next = std::find(next, rows.expanded.end(), part);
        ASSERT_NE(next, rows.expanded.end()) << "row " << std::get<0>(part);
    }
}

TEST_F(AheadTest, oneOfSeveralThreadsAsksForTheTileThatItWillTake)
{
    multiplyWith(multiply, {5 * 64, 600, 240}, 2);
    std::vector<Part> expected;
    for (std::int64_t tile = 0; tile < 5; ++tile) {
        addParts(expected, tile * 64, tile * 64 + 64, 512, 600);
        if (tile + 2 < 5) {
            addParts(expected, (tile + 2) * 64, (tile + 3) * 64, 0, 512);
        }
    }
    EXPECT_EQ(rows.asked, expected);
}

TEST(LyingTest, theRowsOfAMatrixLieWhereTheyAreExpandedFrom)
{
    const std::vector<std::byte> memory(1024);
    MatrixView view{{{ElementType::fp16, {16, 32}}, memory.data()}, nullptr, 64, 32, 1};
    const auto lying = MatrixRows(view).lying(3, 5, 7);
    EXPECT_EQ(lying.data(), memory.data() + (64 + 3 * 32 + 5) * 2);
    EXPECT_EQ(lying.size(), 14U);
    view.columnStride = 2;
    EXPECT_TRUE(MatrixRows(view).lying(3, 5, 7).empty()) << "not in one piece";
}

TEST(LyingTest, storedRowsLieWhereTheirNumbersAre)
{
    const std::vector<std::byte> memory(1024);
    const Shape shape{16, 32};
    const TensorView bytes{{ElementType::int8, shape}, memory.data()};
    const ScaledValues scaled({.data = std::make_shared<DenseValues>(bytes),
                               .scaleBlocks = Blocks(shape, Extents::filled(2, 1)),
                               .scales = {1},
                               .offsetBlocks = {},
                               .offsets = {}});
    const MatrixView view{bytes, &scaled, 64, 32, 1};
    EXPECT_EQ(MatrixRows(view).lying(3, 5, 7).data(), memory.data() + 64 + 3 * 32 + 5);
    EXPECT_EQ(MatrixRows(view).lying(3, 5, 7).size(), 7U);

    PaletteValues::Parts parts{.indices = {{ElementType::uint6, shape}, memory.data()},
                               .shape = shape,
                               .blocks = Blocks(shape, Extents::filled(2, 1)),
                               .entries = std::vector<float>(64),
                               .size = 64,
                               .mask = nullptr};
    EXPECT_EQ(PaletteValues(parts).lying(4, 8).data(), memory.data() + 3);
    EXPECT_EQ(PaletteValues(parts).lying(4, 8).size(), 6U);
    parts.vector = 2;
    parts.size = 32;
    EXPECT_TRUE(PaletteValues(parts).lying(4, 8).empty());
}

} // namespace
} // namespace vorlin::mil
