#pragma once

#include "Platform/Linux/Tray/PopupMenu.h"
#include "Platform/Linux/Tray/StatusNotifier.h"
#include "Platform/Linux/Tray/X11TrayIcon.h"
#include "Ports/StatusItem.h"

#include <memory>
#include <optional>

namespace vorlin {

/// The status item of an X11 desktop: over the session bus where a panel takes it from there, else
/// in the X11 tray, whichever comes, goes and comes again. Main loop; create it after the Qt
/// application.
class TrayStatusItem final : public StatusItem {
public:
    TrayStatusItem();
    ~TrayStatusItem() override;

    void setHandlers(Handlers handlers) override;
    void show(const StatusContent& content) override;

private:
    void choose();
    void tell(const std::string& id) const;
    void activate() const;
    void clicked(X11TrayIcon::Click click, const QPoint& place);

    Handlers handlers;
    std::optional<StatusContent> content;
    StatusNotifier notifier;
    X11TrayIcon icon;
    /// From its first opening on.
    std::unique_ptr<PopupMenu> menu;
};

} // namespace vorlin
