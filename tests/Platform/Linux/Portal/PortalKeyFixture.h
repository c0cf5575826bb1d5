#pragma once

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/Linux/Portal/PortalKey.h"
#include "Platform/RunUntil.h"
#include "fakes/FakeDesktop.h"

#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// A key that a played portal tells of, and a program that starts again and again.
class PortalKeyTest : public testing::Test {
protected:
    using Response = PlayedPortal::Response;
    using Told = std::vector<std::string>;
    using enum PortalKeyState;

    const WantedShortcut f9{"dictate-F9", "Dictate", "F9"};
    const WantedShortcut f8{"dictate-F8", "Dictate", "F8"};

    PortalKeyTest() { begin(); }

    /// The program starts, or starts again.
    void begin()
    {
        key.reset();
        registry = std::make_unique<HostRegistry>(ours.bus, "org.example.App");
        key = std::make_unique<PortalKey>(
            ours.bus, *registry, "key", memory,
            PortalKey::Callbacks{
                .pressed = [this](bool again,
                                  auto) { told.emplace_back(again ? "again" : "pressed"); },
                .released = [this] { told.emplace_back("released"); }},
            times);
    }
    bool comesTo(PortalKeyState state)
    {
        return runUntil([&] { return key->state().get() == state; });
    }
    /// The person gives what is bound; the desktop says so with this code.
    void binds(unsigned code = 0)
    {
        portal->answers["BindShortcuts"] = [code](const QDBusMessage& message) {
            const auto list =
                qdbus_cast<PortalShortcuts>(message.arguments().at(1).value<QDBusArgument>());
            return Response{.code = code,
                            .results =
                                PlayedPortal::bound({{list.front().id.toStdString(), "Press it"}})};
        };
    }
    void refuses(unsigned code)
    {
        portal->answers["BindShortcuts"] = [code](const QDBusMessage&) {
            return Response{.code = code};
        };
    }
    /// What is on its way is late by then: of two timers the one that was started first ends first.
    bool outlastsPatience()
    {
        QTimer timer;
        timer.setSingleShot(true);
        timer.start(times.patience);
        return runUntil([&] { return !timer.isActive(); });
    }
    /// The desktop closes the session, or only fails; nobody has decided anything.
    void endWithoutAnAnswer(bool closes)
    {
        if (closes) {
            portal->emitSignal("org.freedesktop.portal.Session", "Closed", {QVariantMap()},
                               portal->session);
        } else {
            portal->respond({.code = 2});
        }
    }
    void signal(const QString& name, const QString& id, const QString& session)
    {
        portal->emitSignal("org.freedesktop.portal.GlobalShortcuts", name,
                           {QVariant::fromValue(QDBusObjectPath(session)), id,
                            QVariant::fromValue(qulonglong(1)), QVariantMap()});
        portal->takeIn(ours.bus);
    }
    void signal(const QString& name) { signal(name, "dictate-F9", portal->session); }
    /// A signal of one session that tells which keys are bound.
    void tellOfChange(const BoundShortcuts& shortcuts)
    {
        portal->emitSignal("org.freedesktop.portal.GlobalShortcuts", "ShortcutsChanged",
                           {QVariant::fromValue(QDBusObjectPath(portal->session)),
                            PlayedPortal::bound(shortcuts)["shortcuts"]});
        portal->takeIn(ours.bus);
    }
    /// The method is answered by the test, and is on its way when this returns.
    void holds(const std::string& method)
    {
        portal->answers[method] = [](const QDBusMessage&) { return std::nullopt; };
        const int before = portal->count(method);
        key->want(f9);
        EXPECT_TRUE(runUntil([&] { return portal->count(method) > before; }));
        portal->takeIn(ours.bus);
    }
    bool closesSessions(int count)
    {
        return runUntil([&] { return portal->count("Close session") == count; });
    }
    void grant(const WantedShortcut& shortcut)
    {
        memory.setConsent("key", shortcut.id, PortalConsent::granted);
    }
    bool ask(const WantedShortcut& wanted)
    {
        bool answered = false;
        key->ask(wanted, [&] { answered = true; });
        return runUntil([&] { return answered; });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedPortal> portal = std::make_unique<PlayedPortal>(bus);
    FakeDefaults state;
    PortalMemory memory{state, "one"};
    std::unique_ptr<HostRegistry> registry;
    PortalKeyTimes times{.patience = std::chrono::minutes(1),
                         .retry = std::chrono::milliseconds(1)};
    std::unique_ptr<PortalKey> key;
    Told told;
};

} // namespace vorlin
