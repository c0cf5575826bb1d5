#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

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
    /// Nothing where the person cancelled.
    using Chosen = std::optional<std::filesystem::path>;

    ~FolderDialog() override;

    /// Opens it, with `prompt` on the button that chooses; the window of this program that has the
    /// focus waits for it. An open one is cancelled. `whenDone` is called once, from the loop.
    /// False, and `whenDone` is not called, where Qt's dialogs are not installed.
    bool open(const std::string& title, const std::string& prompt,
              std::function<void(Chosen)> whenDone);

    /// Closes the one that is open, as if the person had cancelled it.
    void cancel() { finish(std::nullopt); }

private Q_SLOTS:
    void accepted(const QUrl& folder);
    void rejected();

private:
    void finish(const Chosen& chosen);

    std::function<void(Chosen)> whenDone;
    std::unique_ptr<QQmlEngine> engine;
    std::unique_ptr<QWindow> window;
};

} // namespace vorlin
