#include "UI/Pictures.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdlib>

namespace vorlin {

void keep(const QImage& picture, const std::string& name)
{
    const QString folder = QStringLiteral(ARTEFACTS);
    QDir().mkpath(folder);
    QImage plain = picture;
    plain.setDevicePixelRatio(1);
    plain.save(folder + '/' + QString::fromStdString(name) + ".png");
}

QImage reference(const std::string& name)
{
    const QString file = '/' + QString::fromStdString(name) + ".png";
    const QString common = QStringLiteral(REFERENCES) + file;
    if constexpr (QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)) {
        // Text lies otherwise by parts of a pixel.
        const QString newer = QStringLiteral(REFERENCES "/qt6.8") + file;
        return QImage(QFile::exists(newer) ? newer : common);
    }
    return QImage(common);
}

int visibleDifference(const QImage& one, const QImage& other)
{
    const auto coarse = [](const QImage& image) {
        return image.convertToFormat(QImage::Format_RGB32)
            .scaled(image.size() / 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    };
    const QImage a = coarse(one);
    const QImage b = coarse(other);
    int most = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            most = std::max({most, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                             std::abs(qBlue(p) - qBlue(q))});
        }
    }
    return most;
}

} // namespace vorlin
