#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Keys/SwayGuard.h"
#include "Platform/Linux/Keys/SwayInquiry.h"
#include "Platform/Linux/Keys/SwayWishes.h"
#include "Platform/Linux/Sway/SwaySocket.h"
#include "Ports/EventTap.h"
#include "Ports/Workers.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace vorlin {

/// The keys of a sway session, bound while they are of interest: sway swallows them and tells us.
///
/// A key that the person's configuration binds is left to them. A binding of ours never takes the
/// place of another one. A lone modifier and Escape are bound with whatever other modifiers are
/// held. The release of a key is not told when another key of that keyboard was pressed meanwhile;
/// the next press is then told as it is. A reload, which forgets our bindings, and a connection
/// that is lost, are made good.
/// sway keeps a pointer to the binding of a key's release while the key is down, also beyond that
/// binding's end: those are unbound, or made anew, only once the key is up.
class SwayEventTap final : public EventTap {
public:
    struct Needs {
        SwaySocket& socket;
        MainLoop& loop;
        Workers& workers;
        /// What XWayland knows of the layouts: as `EventTap::typesCharacters`. May be empty.
        std::function<bool(std::uint16_t)> typesCharacters;
        SwayGuard::Paths guard;
    };

    /// What `needs` refers to must outlive the tap.
    explicit SwayEventTap(Needs needs);
    /// Waits some 100 ms at most until sway has taken the bindings back; the guard does what is
    /// then left.
    ~SwayEventTap() override;

    /// True as soon as there is a connection, without waiting for sway to answer. What it refuses
    /// then becomes a conflict.
    bool start(Handler handler) override;
    void stop() override;
    /// sway never switches a tap off.
    void enable() override {}
    void setInterest(const KeyInterest& interest) override;
    bool typesCharacters(std::uint16_t keyCode) override;
    /// Nothing, too, for a key that the person has bound to something in the default mode, once
    /// that is known; a change of that counts as one of the layouts.
    KeyWatch watchable(const Hotkey& hotkey) const override;
    bool losesReleases() const override { return true; }

private:
    void follow(SwayEvent event, const nlohmann::json& details);
    void connectionChanged(bool connected);
    void forget();
    void learnt(SwayKnowledge knowledge);
    void reconcile();
    SwayChange nextChange() const;
    void changed(const SwayChange& change, const nlohmann::json* answer);
    void updateConflict();
    void told(const SwayBinding& binding);
    void releasedForEarlier(HardwareKey key);
    void heldChanged();
    void waitForRelease();

    const Needs needs;
    SwayGuard guard;
    Handler handler;
    SwayWishes wishes;

    /// The mode that sway is in.
    std::string mode = "default";

    /// What is bound; made by us on this connection, and since the last reload.
    SwayBindings bound;
    /// What may be bound besides: from before the connection was lost, or from a process before us.
    SwayBindings leftovers;
    /// A change was asked for and not answered yet.
    bool changing = false;
    /// Keys whose press was told and whose release was not.
    std::set<HardwareKey> held;
    /// Some of them were pressed before we started: their releases, if told, are another's.
    bool heldBefore = false;
    Timer untilReleased;
    SwayInquiry inquiry;
    Subscription events;
    Subscription connection;
    std::shared_ptr<const void> alive;
};

} // namespace vorlin
