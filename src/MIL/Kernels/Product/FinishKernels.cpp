#include "MIL/Kernels/Product/FinishKernels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>
#include <variant>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Product/FinishKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/HalfVectors-inl.h"
#include "MIL/Kernels/Elementwise/VectorFunctions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

/// A piece of a row over which no operand begins anew.
struct Stretch {
    const FinishedRows& task;
    const float* values;
    const float* addends;
    std::array<const std::byte*, mostPasses> others;
    std::byte* out;
    std::int64_t count;
};

template <bool halves>
using Stored = std::conditional_t<halves, hwy::float16_t, float>;

template <bool halves>
HWY_INLINE Vector loadVector(const std::byte* from, std::int64_t index)
{
    const Floats d;
    const auto* const in = reinterpret_cast<const Stored<halves>*>(from) + index;
    if constexpr (halves) {
        return widenHalves(d, hn::LoadU(HalfTag<Floats>(), in));
    } else {
        return hn::LoadU(d, in);
    }
}

template <bool halves>
HWY_INLINE void storeVector(Vector value, std::byte* to, std::int64_t index)
{
    const Floats d;
    auto* const out = reinterpret_cast<Stored<halves>*>(to) + index;
    if constexpr (halves) {
        hn::StoreU(narrowToHalves(d, value), HalfTag<Floats>(), out);
    } else {
        hn::StoreU(value, d, out);
    }
}

/// Vectors that are computed together, so that none waits for the one before.
template <std::size_t n>
struct Vectors {
    Vector v[n];

    /// Calls `act(vector, index of its first number)`; those lie one behind the other from `first`.
    template <class Act>
    HWY_INLINE void each(std::int64_t first, const Act& act)
    {
        const auto lanes = static_cast<std::int64_t>(hn::Lanes(Floats()));
#pragma GCC unroll 4
        for (std::size_t k = 0; k < n; ++k) {
            act(v[k], first + static_cast<std::int64_t>(k) * lanes);
        }
    }
};

template <std::size_t n>
struct ApplyUnary {
    Vectors<n>& vectors;
    template <class Function>
    HWY_INLINE void operator()(const Function& function) const
    {
        vectors.each(0, [&](Vector& v, std::int64_t) HWY_ATTR { v = function(v); });
    }
};

template <bool halves, std::size_t n>
struct ApplyBinary {
    Vectors<n>& vectors;
    const FinishPass& pass;
    const std::byte* other;
    std::int64_t first;
    template <class Function>
    HWY_INLINE void operator()(const Function& function) const
    {
        const Vector same = hn::Set(Floats(), pass.value);
        const auto load = [&](std::int64_t at) HWY_ATTR { return loadVector<halves>(other, at); };
        const bool single = pass.period == 1;
        if (pass.otherFirst) {
            vectors.each(first, [&](Vector& v, std::int64_t at)
                                    HWY_ATTR { v = function(single ? same : load(at), v); });
        } else {
            vectors.each(first, [&](Vector& v, std::int64_t at)
                                    HWY_ATTR { v = function(v, single ? same : load(at)); });
        }
    }
};

/// The numbers from `first` on, finished but for the last rounding.
template <bool halves, std::size_t n>
HWY_INLINE void finishVectors(const Stretch& s, std::int64_t first, Vectors<n>& vectors)
{
    const Floats d;
    vectors.each(first,
                 [&](Vector& v, std::int64_t at) HWY_ATTR { v = hn::LoadU(d, s.values + at); });
    if (s.addends != nullptr && s.task.addendColumns == 0) {
        const Vector same = hn::Set(d, *s.addends);
        vectors.each(0, [&](Vector& v, std::int64_t) HWY_ATTR { v = hn::Add(v, same); });
    } else if (s.addends != nullptr) {
        vectors.each(first, [&](Vector& v, std::int64_t at)
                                HWY_ATTR { v = hn::Add(v, hn::LoadU(d, s.addends + at)); });
    }
    for (std::size_t p = 0; p < s.task.passes.size(); ++p) {
        const FinishPass& pass = s.task.passes[p];
        if constexpr (halves) {
            vectors.each(0, [&](Vector& v, std::int64_t)
                                HWY_ATTR { v = widenHalves(d, narrowToHalves(d, v)); });
        }
        if (const auto* const unary = std::get_if<UnaryLink>(&pass.link)) {
            withUnary(unary->function, static_cast<float>(unary->alpha),
                      static_cast<float>(unary->beta), ApplyUnary<n>{vectors});
        } else {
            withBinary(*std::get_if<BinaryFunction>(&pass.link),
                       ApplyBinary<halves, n>{vectors, pass, s.others[p], first});
        }
    }
}

template <bool halves, std::size_t n>
HWY_INLINE void storeVectors(const Stretch& s, std::int64_t first, Vectors<n>& vectors)
{
    vectors.each(first,
                 [&](Vector& v, std::int64_t at) HWY_ATTR { storeVector<halves>(v, s.out, at); });
}

/// Fewer numbers than a vector has.
template <bool halves>
void finishFew(const Stretch& s)
{
    constexpr std::size_t most = hn::MaxLanes(Floats());
    HWY_ALIGN float values[most] = {};
    HWY_ALIGN float addends[most] = {};
    HWY_ALIGN float others[mostPasses][most] = {};
    HWY_ALIGN float results[most];
    const auto count = static_cast<std::size_t>(s.count);
    Stretch whole = s;
    std::memcpy(values, s.values, count * sizeof(float));
    whole.values = values;
    if (s.addends != nullptr && s.task.addendColumns != 0) {
        std::memcpy(addends, s.addends, count * sizeof(float));
        whole.addends = addends;
    }
    for (std::size_t p = 0; p < s.task.passes.size(); ++p) {
        if (s.task.passes[p].period != 1) {
            std::memcpy(others[p], s.others[p], count * sizeof(Stored<halves>));
            whole.others[p] = reinterpret_cast<const std::byte*>(others[p]);
        }
    }
    whole.out = reinterpret_cast<std::byte*>(results);
    Vectors<1> vectors;
    finishVectors<halves>(whole, 0, vectors);
    storeVectors<halves>(whole, 0, vectors);
    std::memcpy(s.out, results, count * sizeof(Stored<halves>));
}

template <bool halves>
void finishStretch(const Stretch& s)
{
    constexpr std::size_t together = 4;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(Floats()));
    const std::int64_t block = static_cast<std::int64_t>(together) * lanes;
    if (s.count < lanes) {
        finishFew<halves>(s);
        return;
    }
    // The last vector overlaps the one before it, and reads what that may write over.
    const bool overlaps = s.count % lanes != 0;
    Vectors<1> last{{hn::Zero(Floats())}};
    if (overlaps) {
        finishVectors<halves>(s, s.count - lanes, last);
    }
    std::int64_t i = 0;
    for (; i + block <= s.count; i += block) {
        Vectors<together> vectors;
        finishVectors<halves>(s, i, vectors);
        storeVectors<halves>(s, i, vectors);
    }
    for (; i + lanes <= s.count; i += lanes) {
        Vectors<1> vectors;
        finishVectors<halves>(s, i, vectors);
        storeVectors<halves>(s, i, vectors);
    }
    if (overlaps) {
        storeVectors<halves>(s, s.count - lanes, last);
    }
}

template <bool halves>
void finishRow(const FinishedRows& task, std::int64_t row)
{
    constexpr std::int64_t width = sizeof(Stored<halves>);
    const std::int64_t place = task.place + row * task.placeStride;
    std::array<std::int64_t, mostPasses> at{};
    for (std::size_t p = 0; p < task.passes.size(); ++p) {
        const std::int64_t period = task.passes[p].period;
        at[p] = place < period ? place : place % period;
    }
    const float* const addends =
        task.addends == nullptr ? nullptr : task.addends + row * task.addendRows;
    for (std::int64_t done = 0; done < task.columns;) {
        Stretch stretch{task,
                        task.values + row * task.stride + done,
                        addends == nullptr ? nullptr : addends + done * task.addendColumns,
                        {},
                        task.out + (place + done) * width,
                        task.columns - done};
        for (std::size_t p = 0; p < task.passes.size(); ++p) {
            const FinishPass& pass = task.passes[p];
            if (pass.period != 1) {
                at[p] = at[p] == pass.period ? 0 : at[p];
                stretch.others[p] = pass.other + at[p] * width;
                stretch.count = std::min(stretch.count, pass.period - at[p]);
            }
        }
        finishStretch<halves>(stretch);
        done += stretch.count;
        for (std::size_t p = 0; p < task.passes.size(); ++p) {
            at[p] += stretch.count;
        }
    }
}

void finishAll(const FinishedRows& task)
{
    for (std::int64_t row = 0; row < task.rows; ++row) {
        if (task.halves) {
            finishRow<true>(task, row);
        } else {
            finishRow<false>(task, row);
        }
    }
}

struct Nothing {
    template <class Function>
    HWY_INLINE void operator()(const Function& /*function*/) const
    {
    }
};

bool knowsLink(const Link& link)
{
    if (const auto* const unary = std::get_if<UnaryLink>(&link)) {
        return withUnary(unary->function, 0, 0, Nothing());
    }
    return withBinary(*std::get_if<BinaryFunction>(&link), Nothing());
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(finishAll);
HWY_EXPORT(knowsLink);

bool knowsPass(const Link& link)
{
    return HWY_DYNAMIC_DISPATCH(knowsLink)(link);
}

void finishRows(const FinishedRows& task)
{
    HWY_DYNAMIC_DISPATCH(finishAll)(task);
}

} // namespace vorlin::mil
#endif
