#pragma once

#include "MIL/Kernels/Product/Finish.h"
#include "MIL/Kernels/Product/Multiply.h"

#include <optional>
#include <span>

namespace vorlin::mil {

/// A matrix inside a dense or stored tensor: element (i, j) is the flat element
/// base + i * rowStride + j * columnStride.
struct MatrixView {
    TensorView tensor;
    const StoredValues* stored = nullptr; // instead of the tensor's data
    std::int64_t base = 0;
    std::int64_t rowStride = 0;
    std::int64_t columnStride = 1;
};

class MatrixRows final : public LeftRows {
public:
    explicit MatrixRows(const MatrixView& matrix) : matrix(matrix) {}
    void expand(std::int64_t row, std::int64_t first, std::int64_t count,
                float* out) const override;
    void dots(const DotKernels& kernels, std::int64_t firstRow, std::int64_t rows,
              std::int64_t count, const float* x, float* sums, std::int64_t stride) const override;
    std::span<const std::byte> lying(std::int64_t row, std::int64_t first,
                                     std::int64_t count) const override;
    void round(std::int64_t row, std::int64_t first, std::int64_t count, float inverse,
               std::int8_t* out) const override;
    std::optional<ScaledBytes> scaledBytes(std::int64_t row, std::int64_t count) const override;

private:
    const MatrixView matrix;
};

class MatrixColumns final : public RightColumns {
public:
    explicit MatrixColumns(const MatrixView& matrix) : matrix(matrix) {}
    void pack(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
              std::int64_t columns, float* out, std::int64_t stride) const override;
    bool lieAlone() const override { return matrix.rowStride == 1 && matrix.columnStride != 1; }

private:
    const MatrixView matrix;
};

/// Stores C(i, j) at the flat element base + i * rowStride + j * columnStride of a tensor, where
/// one of the strides is 1, plus bias(i) where there is one, with the call's finish.
class MatrixSink final : public ResultSink {
public:
    struct Target {
        TensorBuffer tensor;
        std::int64_t base = 0;
        std::int64_t rowStride = 0;
        std::int64_t columnStride = 1;
    };
    /// `bias` may be null; it has one number or one for each row of C.
    MatrixSink(const Target& target, const TensorView* bias, const Finish* finish = nullptr)
        : target(target), bias(bias), finish(finish),
          passes(finish != nullptr ? finish->inOnePass() : std::span<const FinishPass>())
    {
    }
    void store(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
               std::int64_t columns, float* tile, std::int64_t stride) const override;

private:
    void storeRows(std::int64_t firstRow, std::int64_t rows, std::int64_t base,
                   std::int64_t columns, float* tile, std::int64_t stride) const;
    void storeTurned(std::int64_t firstRow, std::int64_t rows, std::int64_t base,
                     std::int64_t columns, const float* tile, std::int64_t stride) const;
    void storePieces(FinishedRows rows, float* values) const;

    const Target target;
    const TensorView* bias;
    const Finish* finish;
    const std::optional<std::span<const FinishPass>> passes;
};

} // namespace vorlin::mil
