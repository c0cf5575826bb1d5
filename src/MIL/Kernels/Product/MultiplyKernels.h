#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vorlin::mil {

/// Columns of a packed panel, and rows that one call of `multiplyPanel` takes best; both depend
/// on the processor.
std::int64_t panelWidth();
std::int64_t panelRows();

/// c(i, j) = [c(i, j)] + sum over k of a(i, k) panel(k, j) for i < rows, j < columns, with
/// a(i, k) = a[i * aStride + k], panel(k, j) = panel[k * panelWidth() + j]. Keeps what is in c
/// if `accumulate`. rows is at most panelRows(), columns at most panelWidth(); up to there the
/// columns behind may be written, too. On the way it asks for the cache lines at `ahead`, evenly,
/// so that they come while it computes.
void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, std::int64_t columns, float* c, std::int64_t cStride,
                   bool accumulate, std::span<const std::byte* const> ahead = {});

/// out[j * outStride + i] = in[i * inStride + j] for i < rows, j < columns.
void transposeFloats(const float* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, float* out, std::int64_t outStride);

} // namespace vorlin::mil
