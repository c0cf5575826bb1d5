#pragma once

#include "Platform/Linux/Keys/SwayEventTap.h"
#include "Platform/Linux/Sway/PrivateSway.h"
#include "Platform/Linux/Sway/TestKeyboard.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <linux/input-event-codes.h>

namespace vorlin {

/// A tap in a sway of its own, a person's keyboard, and somebody who hears of every binding that
/// fires.
class SwayTapFixture : public testing::Test {
protected:
    static constexpr Hotkey f9{101, 0, false};
    static constexpr Hotkey rightAlt{keyCodes::rightOption, 0, true};

    void startSway(const std::string& configuration)
    {
        sway.emplace(configuration);
        keyboard.emplace(sway->display());
        witness = std::make_unique<SwaySocket>(sway->socket(), loop);
        witnessing = witness->observe([this](SwayEvent event, const nlohmann::json& details) {
            if (event == SwayEvent::binding) {
                fired.push_back(details["binding"]["command"].get<std::string>());
            }
        });
        socket = std::make_unique<SwaySocket>(sway->socket(), loop);
        newTap();
    }

    void newTap()
    {
        tap.reset();
        tap = std::make_unique<SwayEventTap>(
            SwayEventTap::Needs{*socket, loop, workers, {}, guardPaths()});
    }

    SwayGuard::Paths guardPaths() const
    {
        return {GUARD_PROGRAM, sway->socket(), SwayGuard::ledgerPath(sway->folder(), "sway")};
    }

    void start(const Hotkey& hotkey, bool escape = false)
    {
        ASSERT_TRUE(tap->start([this](KeyEventType type, const KeyEvent& event) {
            told.push_back(name(type, event));
            return true;
        }));
        tap->setInterest({hotkey, escape});
    }

    void startAndBind(const Hotkey& hotkey, bool escape = false)
    {
        start(hotkey, escape);
        awaitBound(*hardwareKey(hotkey.keyCode));
        if (escape) {
            awaitBound(hardwareKeys::escape);
        }
    }

    bool isWrittenDown(HardwareKey key) const
    {
        const auto ledger = SwayLedger::read(guardPaths().ledger);
        if (!ledger) {
            return false;
        }
        for (const auto& [mode, each] : ledger->bindings) {
            for (const auto& binding : each) {
                if (binding.key == key) {
                    return true;
                }
            }
        }
        return false;
    }

    void awaitBound(HardwareKey key)
    {
        ASSERT_TRUE(runUntil([&] { return isWrittenDown(key); }));
        sync(); // written down, asked for, done
    }

    void awaitUnbound(HardwareKey key)
    {
        ASSERT_TRUE(runUntil([&] { return !isWrittenDown(key); }));
    }

    /// Until everything that happened so far was told: events and answers come in order.
    void sync()
    {
        int open = 2;
        for (auto* each : {socket.get(), witness.get()}) {
            each->ask(SwayRequest::getVersion, "", [&open](const nlohmann::json*) { --open; });
        }
        ASSERT_TRUE(runUntil([&open] { return open == 0; }));
    }

    std::vector<std::string> heard()
    {
        sync();
        return std::exchange(told, {});
    }

    /// What fired, ours by "ours".
    std::vector<std::string> fires()
    {
        sync();
        auto result = std::exchange(fired, {});
        for (auto& each : result) {
            each = each.starts_with("nop vorlin-") ? "ours" : each;
        }
        return result;
    }

    static std::string name(KeyEventType type, const KeyEvent& event)
    {
        const auto code = std::to_string(event.keyCode);
        switch (type) {
        case KeyEventType::keyDown: return "down " + code;
        case KeyEventType::keyUp: return "up " + code;
        case KeyEventType::flagsChanged:
            return ((event.flags & eventFlags::maskAlternate) != 0 ? "alt " : "no alt ") + code;
        default: return "?";
        }
    }

    QtMainLoop loop;
    ThreadPool workers{[] {}};
    std::optional<PrivateSway> sway;
    std::optional<TestKeyboard> keyboard;
    std::unique_ptr<SwaySocket> witness;
    Subscription witnessing;
    std::unique_ptr<SwaySocket> socket;
    std::unique_ptr<SwayEventTap> tap;
    std::vector<std::string> told;
    std::vector<std::string> fired;
};

} // namespace vorlin
