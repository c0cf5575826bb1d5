#pragma once

#include "MIL/Kernels/Convolution/Windows.h"
#include "MIL/Kernels/Product/Multiply.h"

namespace vorlin::mil {

/// The input of a convolution as the right factor of a product: a column for each place of the
/// output, a row for each channel and tap; zero where a window reaches into the padding.
class ImageColumns final : public RightColumns {
public:
    /// `base` is the flat element where the first channel's plane starts.
    ImageColumns(const TensorView& image, std::int64_t base, const Windows& windows)
        : image(image), base(base), windows(windows)
    {
    }

    void pack(std::int64_t firstRow, std::int64_t rows, std::int64_t firstColumn,
              std::int64_t columns, float* out, std::int64_t stride) const override;

private:
    /// One row: `columns` places from `firstColumn` on.
    void packRow(std::int64_t row, std::int64_t firstColumn, std::int64_t columns,
                 float* out) const;

    const TensorView& image;
    const std::int64_t base;
    const Windows& windows;
};

} // namespace vorlin::mil
