#include "MIL/Lengths/Series.h"

#include <algorithm>
#include <utility>

namespace vorlin::mil {

namespace {

/// As many lists of extents are held against the element counts.
constexpr std::size_t mostLists = 4096;

void add(std::vector<Series>& candidates, Series series)
{
    if (std::find(candidates.begin(), candidates.end(), series) == candidates.end()) {
        candidates.push_back(std::move(series));
    }
}

/// What an entry of a reshape's list may be at each length.
std::vector<Series> candidatesOf(const ShapeSeries& x, std::int64_t entry)
{
    const std::size_t lengths = x.shapes.size();
    std::vector<Series> candidates{Series(lengths, entry)};
    const auto follow = [&](std::int64_t full, Series series) {
        if (full <= 1 || entry <= 0 || (entry % full != 0 && full % entry != 0)) {
            return;
        }
        for (std::int64_t& number : series) {
            if (entry < full && number % (full / entry) != 0) {
                return;
            }
            number = entry < full ? number / (full / entry) : number * (entry / full);
        }
        add(candidates, std::move(series));
    };
    for (std::size_t a = 0; a < x.full.size(); ++a) {
        if (!x.varies(a)) {
            continue;
        }
        const Series first = x.series(a);
        follow(x.full[a], first);
        for (std::size_t b = a + 1; b < x.full.size(); ++b) {
            if (x.varies(b)) {
                Series both = x.series(b);
                for (std::size_t k = 0; k < lengths; ++k) {
                    both[k] *= first[k];
                }
                follow(x.full[a] * x.full[b], both);
            }
        }
    }
    return candidates;
}

/// Whether a list gives `count` elements; its -1, if it has one, is replaced by what is left.
bool fitsCount(Extents& list, std::int64_t count)
{
    std::int64_t rest = 1;
    std::int64_t* open = nullptr;
    for (std::int64_t& extent : list) {
        if (extent == -1 && open == nullptr) {
            open = &extent;
        } else if (extent <= 0 || extent > count) {
            return false;
        } else if (rest > count / extent) {
            return false;
        } else {
            rest *= extent;
        }
    }
    if (open == nullptr) {
        return rest == count;
    }
    *open = count / rest;
    return count % rest == 0;
}

} // namespace

Window prefixWindow(const Series& extents)
{
    return {Series(extents.size(), 0), extents};
}

bool ShapeSeries::varies(std::size_t axis) const
{
    return std::any_of(shapes.begin(), shapes.end(),
                       [&](const Shape& shape) { return shape[axis] != full[axis]; });
}

Series ShapeSeries::series(std::size_t axis) const
{
    Series result;
    for (const Shape& shape : shapes) {
        result.push_back(shape[axis]);
    }
    return result;
}

std::optional<std::vector<Series>> solveReshape(const ShapeSeries& x, const Extents& list,
                                                const std::vector<Series>& zeros)
{
    std::vector<std::vector<Series>> candidates;
    std::size_t lists = 1;
    for (std::size_t j = 0; j < list.size(); ++j) {
        candidates.push_back(list[j] == 0 ? std::vector<Series>{zeros[j]}
                                          : candidatesOf(x, list[j]));
        lists *= candidates.back().size();
        if (lists > mostLists) {
            return std::nullopt;
        }
    }
    std::optional<std::vector<Series>> solution;
    std::vector<Extents> solved;
    for (std::size_t number = 0; number < lists; ++number) {
        std::vector<Series> chosen;
        std::size_t rest = number;
        for (const std::vector<Series>& some : candidates) {
            chosen.push_back(some[rest % some.size()]);
            rest /= some.size();
        }
        std::vector<Extents> shapes;
        for (std::size_t k = 0; k < x.shapes.size(); ++k) {
            Extents shape;
            for (const Series& series : chosen) {
                shape.push(series[k]);
            }
            if (!fitsCount(shape, elementCount(x.shapes[k]))) {
                break;
            }
            shapes.push_back(shape);
        }
        if (shapes.size() < x.shapes.size()) {
            continue;
        }
        if (solution && shapes != solved) {
            return std::nullopt;
        }
        if (!solution) {
            solution = std::move(chosen);
            solved = std::move(shapes);
        }
    }
    return solution;
}

Solution solveBound(const ShapeSeries& x, std::size_t axis, std::int64_t bound)
{
    const std::int64_t full = x.full[axis];
    if (bound < 0 || bound > full) {
        return std::nullopt;
    }
    const Series extents = x.series(axis);
    std::vector<Series> candidates;
    const auto consider = [&](const auto& numberAt) {
        Series series;
        for (std::size_t k = 0; k < extents.size(); ++k) {
            series.push_back(numberAt(k));
            if (series.back() < 0 || series.back() > extents[k]) {
                return;
            }
        }
        add(candidates, std::move(series));
    };
    consider([&](std::size_t) { return bound; });
    consider([&](std::size_t k) { return bound - full + extents[k]; });
    for (std::size_t other = 0; other < x.full.size(); ++other) {
        if (other != axis && x.varies(other) && x.full[other] == bound) {
            consider([&](std::size_t k) { return x.shapes[k][other]; });
        }
    }
    for (const std::int64_t odd : {-1, 1}) {
        if (2 * bound == full + odd) {
            consider([&](std::size_t k) {
                return (extents[k] + odd) % 2 == 0 ? (extents[k] + odd) / 2 : -1;
            });
        }
    }
    return candidates.size() == 1 ? Solution(candidates.front()) : std::nullopt;
}

} // namespace vorlin::mil
