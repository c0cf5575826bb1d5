#include "UI/SceneFixture.h"

#include <QPainter>

#include <array>
#include <cmath>
#include <cstdlib>

namespace vorlin {

void SceneFixture::listen()
{
    dictation.keyDown([this] { return engine; });
    loop.runReady();
    ASSERT_EQ(dictation.phase.get(), Dictation::Phase::listening);
}

void SceneFixture::hear(const std::string& text)
{
    engine->onText(text);
    loop.runReady();
}

void SceneFixture::fail(const std::string& notice)
{
    engine = std::make_shared<FakeTranscriber>();
    engine->preparesAtOnce = false;
    dictation.keyDown([this] { return engine; });
    loop.runReady();
    engine->failPrepare(notice);
    loop.runReady();
    ASSERT_EQ(dictation.notice.get(), notice);
}

void SceneFixture::speak()
{
    for (int i = 0; i < 28; ++i) {
        const double loudness = std::abs(std::sin(i * 0.45) * std::sin(i * 0.17 + 0.6));
        microphone.deliver(static_cast<float>(0.004 + 0.28 * loudness * loudness));
    }
    loop.runReady();
}

QImage SceneFixture::picture(double scale)
{
    const auto& size = model.view.get().layout.panel;
    const QSize pixels(static_cast<int>(std::lround(size.width * scale)),
                       static_cast<int>(std::lround(size.height * scale)));
    scene->draw(pixels, scale); // values that depend on each other settle with the first picture
    return scene->draw(pixels, scale).copy();
}

QRect SceneFixture::symbolSlot(const QImage& picture) const
{
    const auto& layout = model.view.get().layout;
    const double ratio = picture.devicePixelRatio();
    const QRect box = capsule(picture).adjusted(0, 3, 0, -3); // without its border
    return {box.left() + static_cast<int>(layout.horizontalPadding * ratio), box.top(),
            static_cast<int>(layout.leadingWidth * ratio), box.height()};
}

QRect SceneFixture::textSlot(const QImage& picture) const
{
    const auto& layout = model.view.get().layout;
    const double ratio = picture.devicePixelRatio();
    const QRect symbol = symbolSlot(picture);
    const int right = capsule(picture).right();
    return {
        QPoint(symbol.right() + static_cast<int>(layout.spacing / 2 * ratio), symbol.top()),
        QPoint(right - static_cast<int>((layout.horizontalPadding - 1) * ratio), symbol.bottom())};
}

QImage SceneFixture::over(const QImage& picture, const QColor& background)
{
    QImage result(picture.size(), QImage::Format_RGB32);
    result.fill(background);
    QPainter painter(&result);
    QImage plain = picture;
    plain.setDevicePixelRatio(1);
    painter.drawImage(0, 0, plain);
    return result;
}

namespace {

/// What holds the pixels of a picture's size for which `counts` holds.
template <class Counts>
QRect bounds(const QImage& picture, const Counts& counts)
{
    QRect found;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (counts(x, y)) {
                found |= QRect(x, y, 1, 1);
            }
        }
    }
    return found;
}

} // namespace

QRect capsule(const QImage& picture)
{
    return bounds(picture, [&](int x, int y) { return qAlpha(picture.pixel(x, y)) >= 128; });
}

QRect ink(const QImage& picture, const QRect& area)
{
    const QRect box = capsule(picture);
    // Within the padding nothing is ever drawn.
    const int inside = static_cast<int>(5 * picture.devicePixelRatio());
    const QRgb plain = picture.pixel(box.center().x(), box.bottom() - inside);
    return bounds(picture, [&](int x, int y) {
        return area.contains(x, y) && std::abs(qGray(picture.pixel(x, y)) - qGray(plain)) > 32;
    });
}

QRect difference(const QImage& one, const QImage& other)
{
    EXPECT_EQ(one.size(), other.size());
    return bounds(one, [&](int x, int y) { return one.pixel(x, y) != other.pixel(x, y); });
}

} // namespace vorlin
