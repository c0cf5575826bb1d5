#include "Platform/Linux/Overlay/PanelPicture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vorlin {

namespace {

constexpr int halfThere = 128;

const QRgb* row(const QImage& picture, int y)
{
    return reinterpret_cast<const QRgb*>(picture.constScanLine(y));
}

QRgb* row(QImage& picture, int y)
{
    return reinterpret_cast<QRgb*>(picture.scanLine(y));
}

/// The runs of one row that are more than half there.
void appendRuns(std::vector<PixelArea>& runs, const QImage& picture, int y)
{
    const auto* pixels = row(picture, y);
    const auto there = [](QRgb pixel) { return qAlpha(pixel) >= halfThere; };
    const auto* const end = pixels + picture.width();
    const auto* from = std::find_if(pixels, end, there);
    while (from != end) {
        const auto* const to = std::find_if_not(from, end, there);
        runs.push_back({static_cast<int>(from - pixels), y, static_cast<int>(to - from), 1});
        from = std::find_if(to, end, there);
    }
}

} // namespace

QImage faded(const QImage& picture, double alpha)
{
    const auto factor = static_cast<quint32>(std::lround(256 * std::clamp(alpha, 0.0, 1.0)));
    if (factor == 256) {
        return picture;
    }
    QImage result(picture.size(), picture.format());
    for (int y = 0; y < picture.height(); ++y) {
        const auto* from = row(picture, y);
        auto* to = row(result, y);
        for (int x = 0; x < picture.width(); ++x) {
            // Two channels at a time.
            const quint32 even = ((from[x] & 0x00ff00ffU) * factor >> 8U) & 0x00ff00ffU;
            const quint32 odd = ((from[x] >> 8U & 0x00ff00ffU) * factor) & 0xff00ff00U;
            to[x] = even | odd;
        }
    }
    return result;
}

QImage opaque(const QImage& picture)
{
    QImage result(picture.size(), picture.format());
    for (int y = 0; y < picture.height(); ++y) {
        const auto* from = row(picture, y);
        auto* to = row(result, y);
        for (int x = 0; x < picture.width(); ++x) {
            const bool there = qAlpha(from[x]) >= halfThere;
            to[x] = there ? qUnpremultiply(from[x]) | 0xff000000U : 0xff000000U;
        }
    }
    return result;
}

std::vector<PixelArea> shapeOf(const QImage& picture)
{
    std::vector<PixelArea> shape;
    std::vector<PixelArea> runs;
    std::size_t above = 0; // where the rectangles that end at the row above begin in `shape`
    for (int y = 0; y < picture.height(); ++y) {
        runs.clear();
        appendRuns(runs, picture, y);
        const bool continues =
            shape.size() - above == runs.size() &&
            std::equal(runs.begin(), runs.end(), shape.begin() + static_cast<std::ptrdiff_t>(above),
                       [](const PixelArea& run, const PixelArea& over) {
                           return run.x == over.x && run.width == over.width &&
                                  run.y == over.bottom();
                       });
        if (continues) {
            std::for_each(shape.begin() + static_cast<std::ptrdiff_t>(above), shape.end(),
                          [](PixelArea& over) { ++over.height; });
        } else {
            above = shape.size();
            shape.insert(shape.end(), runs.begin(), runs.end());
        }
    }
    return shape;
}

PixelArea difference(const QImage& one, const QImage& other)
{
    const auto bytes = static_cast<std::size_t>(one.width()) * sizeof(QRgb);
    const auto sameRow = [&](int y) { return std::memcmp(row(one, y), row(other, y), bytes) == 0; };
    int top = 0;
    int bottom = one.height();
    while (top < bottom && sameRow(top)) {
        ++top;
    }
    while (bottom > top && sameRow(bottom - 1)) {
        --bottom;
    }
    int left = one.width();
    int right = 0;
    for (int y = top; y < bottom; ++y) {
        const auto* a = row(one, y);
        const auto* b = row(other, y);
        const auto* const end = a + one.width();
        left = std::min(left, static_cast<int>(std::mismatch(a, end, b).first - a));
        int last = one.width();
        while (last > right && a[last - 1] == b[last - 1]) {
            --last;
        }
        right = std::max(right, last);
    }
    return top == bottom ? PixelArea{} : PixelArea{left, top, right - left, bottom - top};
}

} // namespace vorlin
