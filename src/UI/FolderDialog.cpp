#include "UI/FolderDialog.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QWindow>

#include <utility>

namespace vorlin {

FolderDialog::~FolderDialog() = default;

bool FolderDialog::open(const std::string& title, const std::string& prompt,
                        std::function<void(Chosen)> next)
{
    auto* const waiting = window ? window->transientParent() : QGuiApplication::focusWindow();
    cancel();
    auto nextEngine = std::make_unique<QQmlEngine>();
    QQmlComponent component(nextEngine.get(), QUrl("qrc:/qt/qml/Vorlin/qml/FolderChooser.qml"));
    if (!component.isReady()) {
        return false;
    }
    window.reset(qobject_cast<QWindow*>(component.createWithInitialProperties(
        {{"title", QString::fromStdString(title)},
         {"prompt", QString::fromStdString(prompt)},
         {"transientParent", QVariant::fromValue(waiting)}})));
    if (!window) {
        return false;
    }
    engine = std::move(nextEngine);
    whenDone = std::move(next);
    connect(window.get(), SIGNAL(accepted(QUrl)), this, SLOT(accepted(QUrl)));
    connect(window.get(), SIGNAL(rejected()), this, SLOT(rejected()));
    return true;
}

void FolderDialog::accepted(const QUrl& folder)
{
    const auto path = folder.toLocalFile().toStdString();
    finish(path.empty() ? Chosen() : Chosen(path));
}

void FolderDialog::rejected()
{
    finish(std::nullopt);
}

void FolderDialog::finish(const Chosen& chosen)
{
    if (window) {
        // The view may be calling us.
        disconnect(window.get(), nullptr, this, nullptr);
        window->close();
        window.release()->deleteLater();
        engine.release()->deleteLater();
    }
    if (const auto done = std::exchange(whenDone, nullptr)) {
        done(chosen);
    }
}

} // namespace vorlin
