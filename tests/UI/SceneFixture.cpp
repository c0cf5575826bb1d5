#include "UI/SceneFixture.h"

#include <QDir>
#include <QPainter>

#include <array>
#include <cmath>

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

void SceneFixture::keep(const QImage& picture, const std::string& name)
{
    const QString folder = QStringLiteral(ARTEFACTS);
    QDir().mkpath(folder);
    QImage plain = picture;
    plain.setDevicePixelRatio(1);
    plain.save(folder + '/' + QString::fromStdString(name) + ".png");
}

QRect capsule(const QImage& picture)
{
    QRect found;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (qAlpha(picture.pixel(x, y)) >= 128) {
                found |= QRect(x, y, 1, 1);
            }
        }
    }
    return found;
}

} // namespace vorlin
