#pragma once

#include "Async/Published.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {

/// One line of a menu.
struct MenuItem {
    enum class Kind {
        /// Can be chosen.
        action,
        /// Only read; cannot be chosen.
        text,
        /// A line between groups; the other members say nothing.
        separator,
    };

    Kind kind = Kind::action;
    /// Names an action to `StatusItem::Handlers::chosen`; unique among the menu's actions.
    std::string id;
    /// UTF-8, as it is shown: no character stands for a mnemonic.
    std::string text;
    /// The character that, pressed with the desktop's command modifier (Command, Ctrl), is shown
    /// as the action's shortcut. The menu need not be open on some desktops; on Linux it is.
    std::optional<char> shortcut;

    bool operator==(const MenuItem&) const = default;
};

/// The program's symbol: a waveform, plain or marked.
enum class StatusSymbol { idle, active };

/// Everything that a person sees of the status item.
struct StatusContent {
    StatusSymbol symbol = StatusSymbol::idle;
    /// Names the item to a person who rests the pointer on it, and to screen readers.
    std::string title;
    std::vector<MenuItem> menu;

    bool operator==(const StatusContent&) const = default;
};

/// The program's place among the desktop's status symbols, with its menu. Main loop. Nothing
/// fails: without a tray nothing is shown, and a tray that comes later shows what was set last.
class StatusItem {
public:
    struct Handlers {
        /// An action was chosen. Called from the loop, never inside a call.
        std::function<void(const std::string& id)> chosen;
        /// The item itself was clicked, where that does not open the menu.
        std::function<void()> activated;
    };

    StatusItem() = default;
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;
    virtual ~StatusItem() = default;

    /// Who is told of the person's clicks from now on; empty ones are skipped.
    virtual void setHandlers(Handlers handlers) = 0;

    /// Shows this from now on, at once where a tray is; also in a menu that is open. The first
    /// call makes the item appear.
    virtual void show(const StatusContent& content) = 0;

    /// Whether there is a tray that shows the item; false before the first `show`.
    const Published<bool, StatusItem>& isShown() const { return shown; }

protected:
    void setShown(bool now) { shown.set(now); }

private:
    Published<bool, StatusItem> shown{false};
};

} // namespace vorlin
