#include "MIL/Kernels/Product/IntegerKernels.h"

#include "MIL/LargeProducts.h"

#include <hwy/base.h>

#include <array>
#include <cstring>
#include <utility>
#include <vector>

#if HWY_ARCH_X86
#include <cpuid.h>
#include <immintrin.h>
#elif HWY_ARCH_ARM_A64
#include <arm_neon.h>
#endif

namespace vorlin::mil {

#if HWY_ARCH_X86

HWY_PUSH_ATTRIBUTES("avx512f,avx512bw,avx512vl,avx512vnni")
namespace widest {

using Vector = __m512i;
constexpr std::int64_t lanes = 16;
constexpr std::int64_t mostRows = 8; // of 32 registers 24 sums, three of columns, one of a row

inline Vector nothing()
{
    return _mm512_setzero_si512();
}
inline Vector load(const void* from)
{
    return _mm512_loadu_si512(from);
}
inline void store(void* to, Vector values)
{
    _mm512_storeu_si512(to, values);
}
inline Vector four(const std::int8_t* from)
{
    std::int32_t numbers = 0;
    std::memcpy(&numbers, from, sizeof numbers);
    return _mm512_set1_epi32(numbers);
}
inline Vector dot(Vector sum, Vector columns, Vector numbers)
{
    return _mm512_dpbusd_epi32(sum, columns, numbers);
}
#include "MIL/Kernels/Product/IntegerPanel-inl.h"

} // namespace widest
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,avxvnni")
namespace narrow {

using Vector = __m256i;
constexpr std::int64_t lanes = 8;
constexpr std::int64_t mostRows = 4; // of 16 registers 12 sums, three of columns, one of a row

inline Vector nothing()
{
    return _mm256_setzero_si256();
}
inline Vector load(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}
inline void store(void* to, Vector values)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), values);
}
inline Vector four(const std::int8_t* from)
{
    std::int32_t numbers = 0;
    std::memcpy(&numbers, from, sizeof numbers);
    return _mm256_set1_epi32(numbers);
}
inline Vector dot(Vector sum, Vector columns, Vector numbers)
{
    return _mm256_dpbusd_avx_epi32(sum, columns, numbers);
}
#include "MIL/Kernels/Product/IntegerPanel-inl.h"

} // namespace narrow
HWY_POP_ATTRIBUTES

#elif HWY_ARCH_ARM_A64

HWY_PUSH_ATTRIBUTES("arch=armv8.2-a+dotprod")
namespace arm {

using Vector = int32x4_t;
constexpr std::int64_t lanes = 4;
constexpr std::int64_t mostRows = 8; // of 32 registers 24 sums, three of columns, one of a row

inline Vector nothing()
{
    return vdupq_n_s32(0);
}
inline Vector load(const void* from)
{
    return vreinterpretq_s32_u8(vld1q_u8(static_cast<const std::uint8_t*>(from)));
}
inline void store(void* to, Vector values)
{
    vst1q_u8(static_cast<std::uint8_t*>(to), vreinterpretq_u8_s32(values));
}
inline Vector four(const std::int8_t* from)
{
    std::int32_t numbers = 0;
    std::memcpy(&numbers, from, sizeof numbers);
    return vdupq_n_s32(numbers);
}
inline Vector dot(Vector sum, Vector columns, Vector numbers)
{
    return vdotq_s32(sum, vreinterpretq_s8_s32(columns), vreinterpretq_s8_s32(numbers));
}
#include "MIL/Kernels/Product/IntegerPanel-inl.h"

} // namespace arm
HWY_POP_ATTRIBUTES

#endif

namespace {

constexpr std::int64_t plainWidth = 16;

void multiplyPlainly(const IntegerPanel& panel)
{
    for (std::int64_t i = 0; i < panel.rows; ++i) {
        for (std::int64_t j = 0; j < panel.columns; ++j) {
            std::int32_t& c = panel.c[i * panel.cStride + j];
            std::int32_t sum = panel.accumulate ? c : 0;
            for (std::int64_t k = 0; k < 4 * panel.fours; ++k) {
                const auto b =
                    static_cast<std::int8_t>(panel.b[k / 4 * plainWidth * 4 + j * 4 + k % 4]);
                sum += panel.a[i * panel.aStride + k] * b;
            }
            c = sum;
        }
    }
}

constexpr IntegerKernels plain{"plain", plainWidth, 4, 0, multiplyPlainly};

#if HWY_ARCH_X86

constexpr IntegerKernels avx512{"AVX-512 VNNI", widest::vectors* widest::lanes, widest::mostRows,
                                128, widest::multiplyPanel};
constexpr IntegerKernels avx{"AVX-VNNI", narrow::vectors* narrow::lanes, narrow::mostRows, 128,
                             narrow::multiplyPanel};

bool hasAvxVnni()
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    constexpr unsigned bit = 1U << 4U;
    return __builtin_cpu_supports("avx2") != 0 && __get_cpuid_count(7, 1, &a, &b, &c, &d) != 0 &&
           (a & bit) != 0;
}

bool hasAvx512Vnni()
{
    return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
           __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512vnni") != 0;
}

std::vector<const IntegerKernels*> formsOfThisProcessor()
{
    std::vector<const IntegerKernels*> forms;
    if (hasAvx512Vnni()) {
        forms.push_back(&avx512);
    }
    if (hasAvxVnni()) {
        forms.push_back(&avx);
    }
    forms.push_back(&plain);
    return forms;
}

#elif HWY_ARCH_ARM_A64

constexpr IntegerKernels neon{"Arm dot products", arm::vectors* arm::lanes, arm::mostRows, 0,
                              arm::multiplyPanel};

bool hasDotProducts()
{
#if defined(__ARM_FEATURE_DOTPROD)
    return true;
#else
    // The system lets programs read what the processor has: bits 44 to 47 tell of dot products.
    std::uint64_t features = 0;
    asm("mrs %0, ID_AA64ISAR0_EL1" : "=r"(features));
    return (features >> 44U & 15U) != 0;
#endif
}

std::vector<const IntegerKernels*> formsOfThisProcessor()
{
    std::vector<const IntegerKernels*> forms;
    if (hasDotProducts()) {
        forms.push_back(&neon);
    }
    forms.push_back(&plain);
    return forms;
}

#else

std::vector<const IntegerKernels*> formsOfThisProcessor()
{
    return {&plain};
}

#endif

} // namespace

const IntegerKernels& plainIntegerKernels()
{
    return plain;
}

std::string describeIntegers()
{
    const IntegerKernels& best = *integerKernels().front();
    return &best == &plain ? std::string() : std::string(best.name);
}

std::span<const IntegerKernels* const> integerKernels()
{
    static const std::vector<const IntegerKernels*> forms = formsOfThisProcessor();
    return forms;
}

} // namespace vorlin::mil
