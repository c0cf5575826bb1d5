#pragma once

#include "Ports/LocalKeyMonitor.h"
#include "Ports/LoginItem.h"
#include "Ports/StatusItem.h"
#include "Ports/Workspace.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vorlin {

/// A tray that the test plays.
class FakeStatusItem final : public StatusItem {
public:
    Handlers handlers;
    StatusContent content;
    int shows = 0;
    /// Whether the desktop has a tray.
    bool hasTray = true;
    /// A tray comes or goes.
    using StatusItem::setShown;

    void setHandlers(Handlers next) override { handlers = std::move(next); }
    void show(const StatusContent& next) override
    {
        ++shows;
        content = next;
        setShown(hasTray);
    }

    /// The person chooses the action with this text; false when there is none.
    bool choose(const std::string& text)
    {
        const auto found = std::ranges::find_if(content.menu, [&](const MenuItem& item) {
            return item.kind == MenuItem::Kind::action && item.text == text;
        });
        if (found == content.menu.end()) {
            return false;
        }
        const auto id = found->id; // being told may change the menu
        handlers.chosen(id);
        return true;
    }
};

/// A keyboard that the test plays while it is monitored.
class FakeLocalKeyMonitor final : public LocalKeyMonitor {
public:
    /// Why the next start is refused.
    std::optional<std::string> refusal;
    Handler handler;
    std::function<void()> onEnd;
    int starts = 0;
    /// Whether the latest key was used up.
    bool isUsedUp = false;

    std::optional<std::string> start(Handler nextHandler, std::function<void()> nextOnEnd) override
    {
        stop();
        ++starts;
        if (!refusal) {
            handler = std::move(nextHandler);
            onEnd = std::move(nextOnEnd);
        }
        return refusal;
    }
    void stop() override
    {
        handler = nullptr;
        onEnd = nullptr;
    }

    bool isRunning() const { return static_cast<bool>(handler); }
    void keyDown(std::uint16_t keyCode, std::uint64_t flags = 0)
    {
        send(KeyEventType::keyDown, {keyCode, flags, false});
    }
    void flagsChanged(std::uint16_t keyCode, std::uint64_t flags)
    {
        send(KeyEventType::flagsChanged, {keyCode, flags, false});
    }
    /// The window loses the focus, goes, or 30 s have passed.
    void endByItself()
    {
        const auto told = std::exchange(onEnd, nullptr);
        stop();
        if (told) {
            told();
        }
    }

private:
    void send(KeyEventType type, const KeyEvent& event)
    {
        if (const auto current = handler) {
            isUsedUp = current(type, event);
        }
    }
};

class FakeLoginItem final : public LoginItem {
public:
    bool enabled = false;
    /// Why it cannot be changed.
    std::optional<std::string> refusal;

    bool isEnabled() const override { return enabled; }
    void setEnabled(bool wanted) override
    {
        if (refusal) {
            throw std::runtime_error(*refusal);
        }
        enabled = wanted;
    }
};

/// Other programs that the test plays.
class FakeWorkspace final : public Workspace {
public:
    using Chosen = std::optional<std::filesystem::path>;

    /// Why everything fails that may.
    std::optional<std::string> refusal;
    std::vector<std::filesystem::path> opened;
    std::vector<std::filesystem::path> revealed;
    std::vector<std::string> links;
    std::vector<SystemPanel> panels{SystemPanel::microphone, SystemPanel::accessibility};
    std::vector<SystemPanel> openedPanels;
    /// The titles and prompts of the dialogs so far; `chosen` answers the latest.
    std::vector<std::pair<std::string, std::string>> dialogs;
    std::optional<Completer<Chosen>> chosen;
    /// Nobody has cancelled the latest.
    bool isChoosing = false;
    std::vector<std::uintptr_t> raised;

    Completion<Done> open(const std::filesystem::path& folder) override
    {
        opened.push_back(folder);
        return taken();
    }
    Completion<Done> reveal(const std::filesystem::path& item) override
    {
        revealed.push_back(item);
        return taken();
    }
    Completion<Done> openLink(const std::string& address) override
    {
        links.push_back(address);
        return taken();
    }
    bool hasPanel(SystemPanel panel) const override
    {
        return std::ranges::find(panels, panel) != panels.end();
    }
    Completion<Done> openPanel(SystemPanel panel) override
    {
        openedPanels.push_back(panel);
        return taken();
    }
    Completion<Chosen> chooseFolder(const std::string& title, const std::string& prompt) override
    {
        dialogs.emplace_back(title, prompt);
        cancelChoice();
        isChoosing = true;
        Completion<Chosen> result;
        chosen = result.completer();
        if (refusal) {
            chosen->failWith(*refusal);
        }
        return result;
    }
    void cancelChoice() override
    {
        isChoosing = false;
        if (chosen) {
            chosen->complete(std::nullopt);
        }
    }
    void bringToFront(std::uintptr_t window) override { raised.push_back(window); }

private:
    Completion<Done> taken() const
    {
        Completion<Done> result;
        const auto completer = result.completer();
        if (refusal) {
            completer.failWith(*refusal);
        } else {
            completer.complete({});
        }
        return result;
    }
};

} // namespace vorlin
