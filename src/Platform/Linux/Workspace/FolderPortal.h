#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <QVariantMap>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace vorlin {

/// The desktop's own dialog for choosing a folder: org.freedesktop.portal.FileChooser. Main loop;
/// waits for nothing.
class FolderPortal final : public QObject {
    Q_OBJECT

public:
    /// The desktop has no such dialog.
    struct Missing {};
    /// One line on why what was chosen cannot be had.
    struct Unusable {
        std::string why;
    };
    /// Nothing where the person cancelled.
    using Chosen = std::optional<std::filesystem::path>;
    using Answer = std::variant<Chosen, Unusable, Missing>;

    FolderPortal();

    /// Opens the dialog with this title and with `prompt` on the button that chooses, in front of
    /// the window of this program that has the focus. `whenDone` is called once, from the loop.
    void choose(const std::string& title, const std::string& prompt,
                std::function<void(Answer)> whenDone);

    /// Closes the dialog that is open; its `whenDone` is not called any more.
    void cancel();

private Q_SLOTS:
    void responded(uint response, const QVariantMap& results);

private:
    struct Question {
        /// The window that waits for the answer, as portals name it; empty for none.
        QString parent;
        QString title;
        QString prompt;
    };
    void open(const Question& question);
    void follow(const QString& path);
    void finish(const Answer& answer);

    std::function<void(Answer)> whenDone;
    /// The object of the dialog that is open.
    QString request;
    /// Counts dialogs: an answer that belongs to an earlier one is dropped.
    int generation = 0;
    QDBusServiceWatcher watch;
};

} // namespace vorlin
