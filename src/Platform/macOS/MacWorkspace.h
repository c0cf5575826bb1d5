#pragma once

#include "Async/MainLoop.h"
#include "Ports/Workspace.h"

#include <memory>

namespace vorlin {

/// The Finder, the web browser, the system's settings, and its panel for choosing a folder.
class MacWorkspace final : public Workspace {
public:
    /// `loop` must outlive this object.
    explicit MacWorkspace(MainLoop& loop);
    MacWorkspace(const MacWorkspace&) = delete;
    MacWorkspace& operator=(const MacWorkspace&) = delete;
    ~MacWorkspace() override;

    Completion<Done> open(const std::filesystem::path& folder) override;
    Completion<Done> reveal(const std::filesystem::path& item) override;
    Completion<Done> openLink(const std::string& address) override;
    bool hasPanel(SystemPanel panel) const override;
    Completion<Done> openPanel(SystemPanel panel) override;
    /// The panel is modal: it runs from the loop, which goes on within it.
    Completion<std::optional<std::filesystem::path>>
    chooseFolder(const std::string& title, const std::string& prompt) override;
    void cancelChoice() override;
    /// Raises the window whose identifier contains "Settings", whatever its number.
    void bringToFront(std::uintptr_t window) override;

private:
    struct Dialog;
    MainLoop& loop;
    /// The panel that is open, or about to be.
    std::unique_ptr<Dialog> dialog;
};

} // namespace vorlin
