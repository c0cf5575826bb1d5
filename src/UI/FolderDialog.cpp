#include "UI/FolderDialog.h"

#include "Async/Fatal.h"
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

void FolderDialog::open(const std::string& title, const std::string& prompt, const Look& look,
                        std::function<void(Chosen)> next)
{
    qml_register_types_Vorlin();
    auto* const waiting = window ? window->transientParent() : QGuiApplication::focusWindow();
    cancel();
    browser = std::make_unique<FolderBrowser>(workers, loop);
    browser->list(QDir::homePath());
    engine = std::make_unique<QQmlEngine>();
    engine->addImportPath("qrc:/qt/qml"); // Qt 6.5 and later know it by themselves
    QQmlComponent component(engine.get(), QUrl("qrc:/qt/qml/Vorlin/qml/FolderChooser.qml"));
    window.reset(qobject_cast<QWindow*>(component.createWithInitialProperties(
        {{"title", QString::fromStdString(title)},
         {"prompt", QString::fromStdString(prompt)},
         {"browser", QVariant::fromValue(browser.get())},
         {"dark", look.dark},
         {"accent", look.accent.value_or(paletteAccent())},
         {"transientParent", QVariant::fromValue(waiting)}})));
    if (!window) {
        fatal("the folder dialog cannot be drawn: " + component.errorString().toStdString());
    }
    if (waiting != nullptr) {
        window->setIcon(waiting->icon());
    }
    whenDone = std::move(next);
    connect(browser.get(), &FolderBrowser::chosen, this,
            [this](const QString& path) { finish(path.toStdString()); });
    connect(window.get(), SIGNAL(rejected()), this, SLOT(rejected()));
}

void FolderDialog::rejected()
{
    finish(std::nullopt);
}

void FolderDialog::finish(const Chosen& chosen)
{
    if (window) {
        // The view may be calling us. Each goes before what it shows.
        disconnect(window.get(), nullptr, this, nullptr);
        disconnect(browser.get(), nullptr, this, nullptr);
        window->close();
        window.release()->deleteLater();
        engine.release()->deleteLater();
        browser.release()->deleteLater();
    }
    if (const auto done = std::exchange(whenDone, nullptr)) {
        done(chosen);
    }
}

} // namespace vorlin
