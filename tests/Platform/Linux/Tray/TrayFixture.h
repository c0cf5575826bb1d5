#pragma once

#include "Platform/Linux/Tray/TrayStatusItem.h"
#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorlin {

/// A status item and what it tells.
class TrayFixture : public testing::Test {
protected:
    TrayFixture()
    {
        item.setHandlers({.chosen = [this](const std::string& id) { chosen.push_back(id); },
                          .activated = [this] { ++activations; }});
    }

    static StatusContent content(StatusSymbol symbol = StatusSymbol::idle)
    {
        using enum MenuItem::Kind;
        return {symbol,
                "Vorlin",
                {{text, {}, "Hold Right Alt to dictate", {}},
                 {separator, {}, {}, {}},
                 {action, "settings", "Settings…", ','},
                 {separator, {}, {}, {}},
                 {action, "quit", "Quit Vorlin", 'q'}}};
    }

    bool comesToBeShown(bool shown = true)
    {
        return runUntil([&] { return item.isShown().get() == shown; });
    }

    TrayStatusItem item;
    std::vector<std::string> chosen;
    int activations = 0;
};

} // namespace vorlin
