#include "IntegerStandIn.h"

#include <hwy/base.h>

#include <array>
#include <cstring>
#include <utility>

#if HWY_ARCH_X86

#include <immintrin.h>

namespace vorlin::mil::test {

HWY_PUSH_ATTRIBUTES("avx512f,avx512bw,avx512vl,avx512vnni")
namespace {

using Vector = __m256i;
constexpr std::int64_t lanes = 8;
constexpr std::int64_t mostRows = 4;

Vector nothing()
{
    return _mm256_setzero_si256();
}
Vector load(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}
void store(void* to, Vector values)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), values);
}
Vector four(const std::int8_t* from)
{
    std::int32_t numbers = 0;
    std::memcpy(&numbers, from, sizeof numbers);
    return _mm256_set1_epi32(numbers);
}
Vector dot(Vector sum, Vector columns, Vector numbers)
{
    return _mm256_dpbusd_epi32(sum, columns, numbers);
}
#include "MIL/Kernels/Product/IntegerPanel-inl.h"

constexpr IntegerKernels narrow{"stand-in for AVX-VNNI", vectors* lanes, mostRows, 128,
                                multiplyPanel};

} // namespace
HWY_POP_ATTRIBUTES

const IntegerKernels* narrowStandIn()
{
    const bool runs = __builtin_cpu_supports("avx512vl") != 0 &&
                      __builtin_cpu_supports("avx512bw") != 0 &&
                      __builtin_cpu_supports("avx512vnni") != 0;
    return runs ? &narrow : nullptr;
}

} // namespace vorlin::mil::test

#else

const vorlin::mil::IntegerKernels* vorlin::mil::test::narrowStandIn()
{
    return nullptr;
}

#endif
