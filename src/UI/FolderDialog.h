#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QQuickWindow;

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

    /// Opens it; an open one is cancelled. `whenDone` is called once, from the loop.
    void open(const std::string& title, std::function<void(Chosen)> whenDone);

private Q_SLOTS:
    void accepted(const QUrl& folder);
    void rejected();

private:
    void finish(const Chosen& chosen);

    std::function<void(Chosen)> whenDone;
    std::unique_ptr<QQmlEngine> engine;
    std::unique_ptr<QObject> window;
};

} // namespace vorlin
