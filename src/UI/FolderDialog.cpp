#include "UI/FolderDialog.h"

#include "UI/PaletteAccent.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QWindow>

#include <utility>

// The module's types; a static library's own registration would be left out by the linker.
void qml_register_types_Vorlin(); // NOLINT(readability-identifier-naming): Qt's name

namespace vorlin {

FolderDialog::~FolderDialog() = default;

bool FolderDialog::open(const std::string& title, const std::string& prompt, const Look& look,
                        std::function<void(Chosen)> next)
{
    qml_register_types_Vorlin();
    auto* const waiting = window ? window->transientParent() : QGuiApplication::focusWindow();
    cancel();
    auto nextEngine = std::make_unique<QQmlEngine>();
    nextEngine->addImportPath("qrc:/qt/qml"); // Qt 6.5 and later know it by themselves
    QQmlComponent component(nextEngine.get(), QUrl("qrc:/qt/qml/Vorlin/qml/FolderChooser.qml"));
    if (!component.isReady()) {
        return false;
    }
    window.reset(qobject_cast<QWindow*>(component.createWithInitialProperties(
        {{"title", QString::fromStdString(title)},
         {"prompt", QString::fromStdString(prompt)},
         {"start", QDir::homePath()},
         {"dark", look.dark},
         {"accent", look.accent.value_or(paletteAccent())},
         {"transientParent", QVariant::fromValue(waiting)}})));
    if (!window) {
        return false;
    }
    if (waiting != nullptr) {
        window->setIcon(waiting->icon());
    }
    engine = std::move(nextEngine);
    whenDone = std::move(next);
    connect(window.get(), SIGNAL(accepted(QString)), this, SLOT(accepted(QString)));
    connect(window.get(), SIGNAL(rejected()), this, SLOT(rejected()));
    return true;
}

void FolderDialog::accepted(const QString& typed)
{
    const auto path = typed == "~" || typed.startsWith("~/") ? QDir::homePath() + typed.mid(1)
                                                             : typed;
    if (QDir::isAbsolutePath(path) && QDir(path).exists()) {
        finish(QDir::cleanPath(path).toStdString());
    } else {
        const QString problem = "There is no such folder.";
        window->setProperty("problem", problem);
        announcer.announce(problem);
    }
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
