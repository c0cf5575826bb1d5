#pragma once

#include "Async/MainLoop.h"
#include "Ports/Workers.h"
#include "UI/FolderBrowser.h"

#include <QColor>
#include <QObject>
#include <QQmlEngine>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QWindow;

namespace vorlin {

/// Our own dialog for choosing a folder, for desktops that have none, in a window of its own. Its
/// view is loaded when it opens and goes when it closes. Main thread; create it after the Qt
/// application.
class FolderDialog final : public QObject {
    Q_OBJECT

public:
    /// How the person has set up the desktop. Without an accent it is the palette's.
    struct Look {
        bool dark = false;
        std::optional<QColor> accent;
    };
    /// Nothing where the person cancelled.
    using Chosen = std::optional<std::filesystem::path>;

    /// Both must outlive this object.
    FolderDialog(Workers& workers, MainLoop& loop) : workers(workers), loop(loop) {}
    ~FolderDialog() override;

    /// Opens it on the person's home, with `prompt` on the button that chooses; the window of this
    /// program that has the focus waits for it. An open one is cancelled. `whenDone` is called
    /// once, from the loop, with a folder that was there a moment ago.
    void open(const std::string& title, const std::string& prompt, const Look& look,
              std::function<void(Chosen)> whenDone);

    /// Closes the one that is open, as if the person had cancelled it.
    void cancel() { finish(std::nullopt); }

private Q_SLOTS:
    void rejected();

private:
    void finish(const Chosen& chosen);

    Workers& workers;
    MainLoop& loop;
    std::function<void(Chosen)> whenDone;
    std::unique_ptr<FolderBrowser> browser;
    std::unique_ptr<QQmlEngine> engine;
    std::unique_ptr<QWindow> window;
};

} // namespace vorlin
