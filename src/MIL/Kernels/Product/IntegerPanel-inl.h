// The product of a panel in vectors of one kind. Included once for each kind, within a namespace
// that holds its Vector, its lanes of 32 bits, mostRows, and zero, load, store, four and dot, and
// between the attributes of the processors that have it. No guard: it is meant to be repeated.

constexpr std::int64_t vectors = 3; // of a panel

/// Rows against the first `used` vectors of each four of k.
template <std::size_t rows, std::size_t used>
void multiplyRows(const IntegerPanel& panel)
{
    Vector sums[rows][used];
    const auto target = [&](std::size_t i, std::size_t v) {
        return panel.c + static_cast<std::int64_t>(i) * panel.cStride +
               static_cast<std::int64_t>(v) * lanes;
    };
    HWY_UNROLL(8)
    for (std::size_t i = 0; i < rows; ++i) {
        HWY_UNROLL(3)
        for (std::size_t v = 0; v < used; ++v) {
            sums[i][v] = panel.accumulate ? load(target(i, v)) : nothing();
        }
    }
    const auto lines = static_cast<std::int64_t>(panel.ahead.size());
    const std::int64_t stretch = panel.fours / (lines + 1);
    const std::int8_t* a = panel.a;
    const std::uint8_t* b = panel.b;
    for (std::int64_t k = 0, line = 0; k < panel.fours; ++line) {
        const std::int64_t end = line < lines ? k + stretch : panel.fours;
        if (line < lines) {
            __builtin_prefetch(panel.ahead[static_cast<std::size_t>(line)], 0, 2);
        }
        for (; k < end; ++k) {
            Vector columns[used];
            HWY_UNROLL(3)
            for (std::size_t v = 0; v < used; ++v) {
                columns[v] = load(b + static_cast<std::int64_t>(v) * lanes * 4);
            }
            HWY_UNROLL(8)
            for (std::size_t i = 0; i < rows; ++i) {
                const Vector numbers = four(a + static_cast<std::int64_t>(i) * panel.aStride);
                HWY_UNROLL(3)
                for (std::size_t v = 0; v < used; ++v) {
                    sums[i][v] = dot(sums[i][v], columns[v], numbers);
                }
            }
            a += 4;
            b += vectors * lanes * 4;
        }
    }
    HWY_UNROLL(8)
    for (std::size_t i = 0; i < rows; ++i) {
        HWY_UNROLL(3)
        for (std::size_t v = 0; v < used; ++v) {
            store(target(i, v), sums[i][v]);
        }
    }
}

template <std::size_t used, std::size_t... less>
auto* rowsFrom(std::int64_t rows, std::index_sequence<less...> /*upTo*/)
{
    constexpr std::array multiply{multiplyRows<less + 1, used>...};
    return multiply.at(static_cast<std::size_t>(rows) - 1);
}

inline void multiplyPanel(const IntegerPanel& panel)
{
    constexpr std::make_index_sequence<static_cast<std::size_t>(mostRows)> any;
    auto* multiply = rowsFrom<3>(panel.rows, any);
    if (panel.columns <= lanes) {
        multiply = rowsFrom<1>(panel.rows, any);
    } else if (panel.columns <= 2 * lanes) {
        multiply = rowsFrom<2>(panel.rows, any);
    }
    multiply(panel);
}
