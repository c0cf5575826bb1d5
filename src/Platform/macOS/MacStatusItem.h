#pragma once

#include "Async/MainLoop.h"
#include "Ports/StatusItem.h"

#include <memory>

namespace vorlin {

/// An item of the menu bar, with its menu. A click opens the menu, so `activated` is never called.
class MacStatusItem final : public StatusItem {
public:
    /// `loop` must outlive this object.
    explicit MacStatusItem(MainLoop& loop);
    ~MacStatusItem() override;

    void setHandlers(Handlers handlers) override;
    void show(const StatusContent& content) override;

private:
    struct Item;
    void choose(const std::string& id);

    MainLoop& loop;
    Handlers handlers;
    std::unique_ptr<Item> item;
    /// Until the action that was chosen last is told.
    Timer telling;
};

} // namespace vorlin
