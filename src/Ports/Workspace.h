#pragma once

#include "Async/Completion.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace vorlin {

/// A page of the desktop's own settings.
enum class SystemPanel { microphone, accessibility };

/// What other programs of the desktop do for the person. Main loop; nothing blocks. A
/// `Completion<Done>` completes once the desktop has taken the wish over, or fails with a
/// `std::runtime_error` of one line; who does not want to know may drop it.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens a folder in the file manager.
    virtual Completion<Done> open(const std::filesystem::path& folder) = 0;

    /// Shows a file or folder, selected, in the file manager.
    virtual Completion<Done> reveal(const std::filesystem::path& item) = 0;

    /// Opens an https address in the web browser.
    virtual Completion<Done> openLink(const std::string& address) = 0;

    /// Whether the desktop is known to have this page.
    virtual bool hasPanel(SystemPanel panel) const = 0;

    /// Opens the page; fails where `hasPanel` says no.
    virtual Completion<Done> openPanel(SystemPanel panel) = 0;

    /// Lets the person choose a folder in a dialog with this title and with `prompt` on the button
    /// that chooses; nothing when they cancel. The window of this program that has the focus waits
    /// for it. One dialog at a time: an earlier one is cancelled. Fails with one line when the
    /// desktop can show none.
    virtual Completion<std::optional<std::filesystem::path>>
    chooseFolder(const std::string& title, const std::string& prompt) = 0;

    /// Closes the dialog that is open, as if the person had cancelled it; without one, nothing.
    virtual void cancelChoice() = 0;

    /// Brings a window of this program (the desktop's own number of it) to the front, with the
    /// focus, on the workspace that the person sees.
    virtual void bringToFront(std::uintptr_t window) = 0;
};

} // namespace vorlin
