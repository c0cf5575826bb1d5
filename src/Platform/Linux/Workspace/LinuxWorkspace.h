#pragma once

#include "Platform/Linux/Environment.h"
#include "Platform/Linux/Workspace/FolderPortal.h"
#include "Platform/Linux/Workspace/X11WindowRaiser.h"
#include "Ports/Workspace.h"

#include <QObject>

#include <functional>
#include <optional>

namespace vorlin {

/// Other programs of an X11 desktop: through the session bus where a desktop offers it there, else
/// through `xdg-open`. Main loop; create it after the Qt application.
class LinuxWorkspace final : public Workspace {
public:
    /// Nothing where the person cancelled.
    using Chosen = std::optional<std::filesystem::path>;
    /// A dialog of our own for choosing a folder.
    struct OwnDialog {
        /// Opens it; false where it cannot be shown. `whenDone` is called once, and not at all
        /// where it cannot be shown.
        std::function<bool(const std::string& title, const std::string& prompt,
                           std::function<void(Chosen)> whenDone)>
            open;
        /// Cancels it if it is open.
        std::function<void()> cancel;
    };

    explicit LinuxWorkspace(Environment environment) : environment(std::move(environment)) {}
    LinuxWorkspace(const LinuxWorkspace&) = delete;
    LinuxWorkspace& operator=(const LinuxWorkspace&) = delete;
    ~LinuxWorkspace() override;

    /// Lets folders be chosen in this dialog where the desktop has none.
    void setOwnDialog(OwnDialog next) { ownDialog = std::move(next); }

    Completion<Done> open(const std::filesystem::path& folder) override;
    Completion<Done> reveal(const std::filesystem::path& item) override;
    Completion<Done> openLink(const std::string& address) override;
    bool hasPanel(SystemPanel panel) const override;
    Completion<Done> openPanel(SystemPanel panel) override;
    Completion<Chosen> chooseFolder(const std::string& title, const std::string& prompt) override;
    void cancelChoice() override;
    void bringToFront(std::uintptr_t window) override;

private:
    Completion<Done> openWithProgram(const QString& what) const;

    Environment environment;
    OwnDialog ownDialog = {.open = [](const auto&...) { return false; }, .cancel = [] {}};
    FolderPortal portal;
    /// The dialog that is open.
    std::optional<Completer<Chosen>> dialog;
    /// From the first use on.
    std::optional<X11WindowRaiser> raiser;
    QObject context;
};

} // namespace vorlin
