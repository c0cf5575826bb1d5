#pragma once

#include "MIL/Half.h"

#include <cstdint>

namespace vorlin::mil {

/// Columns of a packed panel, and rows that one call of `multiplyPanel` takes best; both depend
/// on the processor.
std::int64_t panelWidth();
std::int64_t panelRows();

/// c(i, j) = [c(i, j)] + sum over k of a(i, k) panel(k, j) for i < rows, j < panelWidth(), with
/// a(i, k) = a[i * aStride + k], panel(k, j) = panel[k * panelWidth() + j]. Keeps what is in c
/// if `accumulate`. rows is at most panelRows().
void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, float* c, std::int64_t cStride, bool accumulate);

/// Sums of x[k] y[k], in single precision, in several partial sums.
float dotFloats(const float* x, const float* y, std::int64_t count);
float dotHalves(const Half* x, const float* y, std::int64_t count);

/// The latter for this many rows of x at once, `rowStride` halves apart: sums[i * sumStride].
constexpr std::int64_t rowsOfHalves = 4;
void dotRowsOfHalves(const Half* x, std::int64_t rowStride, const float* y, std::int64_t count,
                     float* sums, std::int64_t sumStride);

/// out[j * outStride + i] = in[i * inStride + j] for i < rows, j < columns.
void transposeFloats(const float* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, float* out, std::int64_t outStride);

} // namespace vorlin::mil
