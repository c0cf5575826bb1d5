// A small program that shares the clipboard by its toolkit's means.
//   qt_clipboard offer        copies text, HTML, a URL, an image and data of its own, and waits
//   qt_clipboard read TYPE    pastes the data of a type
//   qt_clipboard text         pastes the text

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QTimer>
#include <QUrl>
#include <cstdio>

namespace {

void offer()
{
    auto* data = new QMimeData;
    data->setText(QStringLiteral("“日本” 🎤"));
    data->setHtml(QStringLiteral("<b>日本</b>"));
    data->setUrls({QUrl(QStringLiteral("file:///tmp/a%20b"))});
    QImage image(600, 400, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    data->setImageData(image);
    data->setData(QStringLiteral("application/x-mine"), QByteArray("\0\1\0\xff", 4));
    QGuiApplication::clipboard()->setMimeData(data);
    std::puts("ready");
    std::fflush(stdout);
}

void write(const QByteArray& bytes)
{
    std::fwrite(bytes.data(), 1, static_cast<std::size_t>(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    QGuiApplication application(count, arguments);
    const QStringList words = QGuiApplication::arguments();
    QTimer::singleShot(0, &application, [words] {
        if (words.value(1) == QLatin1String("offer")) {
            offer();
            return;
        }
        const QMimeData* data = QGuiApplication::clipboard()->mimeData();
        write(words.value(1) == QLatin1String("read") ? data->data(words.value(2))
                                                      : data->text().toUtf8());
        QGuiApplication::quit();
    });
    return QGuiApplication::exec();
}
