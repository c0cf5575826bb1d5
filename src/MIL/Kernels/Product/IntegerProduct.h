#pragma once

#include "MIL/Kernels/Product/IntegerKernels.h"
#include "MIL/Kernels/Product/IntegerWeights.h"
#include "MIL/Kernels/Product/Multiply.h"

namespace vorlin::mil {

/// Whether a product of that size is worth computing in 8 bits, and can be: several columns,
/// enough terms, and not so many that their sum leaves 32 bits.
bool fitsIntegers(const ProductSize& size);

/// C(i, j) = sum over k of A(i, k) B(k, j), where the rows of A are those of `weights` and each
/// column of B is rounded to 255 steps of a scale of its own: the sums are exact integers, which
/// are multiplied with the column's scale and then with the row's, in single precision. A column
/// that holds what is not finite gives not-a-number. On the call's threads, in its scratch memory.
void multiplyInIntegers(const Call& call, const ProductSize& size, const LeftRows& left,
                        const IntegerRows& weights, const RightColumns& right,
                        const ResultSink& sink,
                        const IntegerKernels& kernels = *integerKernels().front());

/// As `multiply`, for constant weights: in 8 bits if the call wants it and the product fits.
void multiplyWeights(const Call& call, const ProductSize& size,
                     const IntegerWeights::Place& weights, const LeftRows& left,
                     const RightColumns& right, const ResultSink& sink);

/// Makes what `multiplyWeights` keeps of the weights, if it is to keep anything.
void prepareWeights(const Call& call, const ProductSize& size, const IntegerWeights::Place& weights,
                    const LeftRows& left);

} // namespace vorlin::mil
