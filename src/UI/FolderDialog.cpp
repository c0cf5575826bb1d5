#include "UI/FolderDialog.h"

#include "Async/Fatal.h"

#include <QQmlComponent>

#include <utility>

namespace vorlin {

FolderDialog::~FolderDialog() = default;

void FolderDialog::open(const std::string& title, std::function<void(Chosen)> next)
{
    finish(std::nullopt);
    whenDone = std::move(next);
    engine = std::make_unique<QQmlEngine>();
    QQmlComponent component(engine.get(), QUrl("qrc:/qt/qml/Vorlin/qml/FolderChooser.qml"));
    window.reset(component.createWithInitialProperties({{"title", QString::fromStdString(title)}}));
    if (!window) {
        fatal("the folder dialog cannot be shown: " + component.errorString().toStdString());
    }
    connect(window.get(), SIGNAL(accepted(QUrl)), this, SLOT(accepted(QUrl)));
    connect(window.get(), SIGNAL(rejected()), this, SLOT(rejected()));
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
        window.release()->deleteLater();
        engine.release()->deleteLater();
    }
    if (const auto done = std::exchange(whenDone, nullptr)) {
        done(chosen);
    }
}

} // namespace vorlin
