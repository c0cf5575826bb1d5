#pragma once

#include "Platform/Linux/Portal/PortalRequest.h"

#include <QObject>
#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace vorlin {

/// The desktop's own dialog for choosing a folder: org.freedesktop.portal.FileChooser. Main loop;
/// waits for nothing.
class FolderPortal final : public QObject {
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

private:
    struct Question {
        /// The window that waits for the answer, as portals name it; empty for none.
        QString parent;
        QString title;
        QString prompt;
    };
    void open(const Question& question);
    void finish(const Answer& answer);

    std::function<void(Answer)> whenDone;
    /// The dialog that is open.
    PortalRequest request;
    /// Counts dialogs: an answer that belongs to an earlier one is dropped.
    int generation = 0;
};

} // namespace vorlin
