#include "Platform/Linux/Keys/SwayEventTap.h"

#include "Platform/Linux/Sway/SwayAnswers.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace vorlin {

namespace {

using nlohmann::json;

/// How long a binding that is not wanted any more waits for a release that is not told. Somebody
/// who typed meanwhile has let go long before; the binding does nothing to anybody.
constexpr std::chrono::seconds longestHold{60};
constexpr std::chrono::milliseconds untilUnbound{100};

} // namespace

SwayEventTap::SwayEventTap(Needs wanted)
    : needs(std::move(wanted)), guard(needs.guard), leftovers(guard.leftovers()),
      held(guard.heldBefore()), heldBefore(!held.empty()),
      inquiry({needs.socket, needs.loop, needs.workers},
              {[this](const std::string& name) { mode = name; },
               [this](SwayKnowledge knowledge) { learnt(std::move(knowledge)); }}),
      alive(std::make_shared<int>())
{
    heldChanged();
    events = needs.socket.observe(
        [this](SwayEvent event, const json& details) { follow(event, details); });
    connection =
        needs.socket.connected().observe([this](bool connected) { connectionChanged(connected); });
    if (needs.socket.connected().get()) {
        inquiry.ask();
    }
}

SwayEventTap::~SwayEventTap()
{
    stop();
    if (countOf(bound) + countOf(leftovers) > 0 || changing) {
        needs.socket.drain(untilUnbound);
    }
}

bool SwayEventTap::start(Handler next)
{
    stop();
    if (!needs.socket.connected().get()) {
        return false;
    }
    handler = std::move(next);
    wishes.active = true;
    return true; // bound with the interest, which comes next
}

void SwayEventTap::stop()
{
    handler = {};
    wishes.active = false;
    wishes.interest = {};
    reconcile();
    setConflict(KeyConflict::none);
}

void SwayEventTap::setInterest(const KeyInterest& next)
{
    wishes.interest = next;
    reconcile();
}

bool SwayEventTap::typesCharacters(std::uint16_t keyCode)
{
    const auto key = hardwareKey(keyCode);
    return (key && wishes.knowledge.chooseLevel.contains(*key)) ||
           (needs.typesCharacters && needs.typesCharacters(keyCode));
}

KeyWatch SwayEventTap::watchable(const Hotkey& hotkey) const
{
    // What is theirs in one of their other modes they get there and we do elsewhere.
    return SwayWishes::isKnown(hotkey) && !wishes.isLost("default", hotkey)
               ? KeyWatch::pressesAndReleases
               : KeyWatch::nothing;
}

void SwayEventTap::connectionChanged(bool connected)
{
    inquiry.drop();
    changing = false;
    forget();
    if (connected) {
        inquiry.ask();
    }
}

/// Who is connected to may be another sway, or the same one with all that was bound.
void SwayEventTap::forget()
{
    add(leftovers, std::exchange(bound, {}));
    wishes.refused.clear();
}

void SwayEventTap::learnt(SwayKnowledge knowledge)
{
    const bool isNews = wishes.knowledge.chooseLevel != knowledge.chooseLevel ||
                        wishes.knowledge.taken != knowledge.taken;
    wishes.knowledge = std::move(knowledge);
    reconcile();
    if (isNews) {
        noteLayoutChange();
    }
}

void SwayEventTap::follow(SwayEvent event, const json& details)
{
    const auto change = swayText(details, "change");
    if (event == SwayEvent::binding) {
        const auto binding = details.find("binding");
        if (binding != details.end()) {
            if (const auto ours = swayBindingNamed(swayText(*binding, "command"), guard.token())) {
                told(*ours);
            } else if (const auto theirs = heldBefore
                                               ? swayBindingNamed(swayText(*binding, "command"),
                                                                  guard.earlierToken())
                                               : std::nullopt;
                       theirs && theirs->release) {
                releasedForEarlier(theirs->key);
            }
        }
    } else if (event == SwayEvent::mode) {
        mode = change;
        reconcile();
    } else if (event == SwayEvent::workspace && change == "reload") {
        // Whatever was bound is gone, and the release of a key that is down will not be told.
        held.clear();
        heldChanged();
        bound.clear();
        leftovers.clear();
        wishes.refused.clear();
        inquiry.drop();
        inquiry.ask();
    } else if (event == SwayEvent::input && change != "xkb_layout" && change != "libinput_config") {
        inquiry.askInputs();
    }
}

SwayChange SwayEventTap::nextChange() const
{
    SwayChange change;
    const auto mayEnd = [this](const SwayBinding& each) {
        return !each.release || !held.contains(each.key);
    };
    for (const auto& binding : wishes.in(mode)) {
        if (!contains(bound, mode, binding) &&
            (mayEnd(binding) || !contains(leftovers, mode, binding))) {
            change.bind[mode].insert(binding);
        }
    }
    for (const auto* all : {&bound, &leftovers}) {
        for (const auto& [which, each] : *all) {
            const auto wanted = wishes.in(which);
            for (const auto& binding : each) {
                if (!wanted.contains(binding) && mayEnd(binding)) {
                    change.unbind[which].insert(binding);
                }
            }
        }
    }
    return change;
}

/// Takes the next step from what is bound to what is to be. One at a time: what has been done is
/// known when it is answered.
void SwayEventTap::reconcile()
{
    if (!inquiry.isAnswered() || changing || !needs.socket.connected().get()) {
        return;
    }
    updateConflict();
    const auto change = nextChange();
    auto all = bound;
    add(all, leftovers);
    add(all, change.bind);
    guard.keep(all);
    if (!held.empty() && (!handler || heldBefore || countOf(change.unbind) > 0)) {
        waitForRelease();
    }
    if (change.isEmpty()) {
        return;
    }
    changing = true;
    needs.socket.ask(SwayRequest::runCommand, change.commands(guard.token()),
                     [this, change, token = std::weak_ptr(alive)](const json* answer) {
                         if (!token.expired()) {
                             changed(change, answer);
                         }
                     });
}

void SwayEventTap::changed(const SwayChange& change, const json* answer)
{
    if (answer == nullptr) {
        if (changing && needs.socket.connected().get()) {
            changing = false; // nobody took it
            inquiry.askLater();
        }
        return; // or the connection is gone; what sway did nobody knows
    }
    changing = false;
    const auto refusals = wishes.refused.size();
    std::size_t at = 0;
    for (const auto& [which, each] : change.bind) {
        for (const auto& binding : each) {
            bool done = answer->is_array() && answer->size() >= at + commandsOfSwayBinding;
            for (std::size_t one = 0; done && one < commandsOfSwayBinding; ++one) {
                const auto& result = (*answer)[at + one];
                done = result.is_object() && result.value("success", json(false)) == json(true);
            }
            at += commandsOfSwayBinding;
            bound[which].insert(binding);
            if (!done) {
                wishes.refused.insert(binding); // and unbound, as far as it was bound
            }
        }
    }
    remove(bound, change.unbind);
    remove(leftovers, change.unbind);
    remove(leftovers, change.bind);
    reconcile();
    if (wishes.refused.size() > refusals) {
        noteLayoutChange(); // another key may be the better one
    }
}

void SwayEventTap::updateConflict()
{
    if (handler) {
        setConflict(wishes.conflict(mode));
    }
}

void SwayEventTap::told(const SwayBinding& binding)
{
    const auto current = handler; // it may stop us
    const auto code = virtualKey(binding.key);
    const auto& hotkey = wishes.interest.hotkey;
    const bool isHotkey =
        hotkey && hardwareKey(hotkey->keyCode) == binding.key &&
        (hotkey->modifierOnly || swayModifiersOf(hotkey->modifiers) == binding.modifiers);
    const auto flags = flagsOf(binding.modifiers);
    if (binding.release) {
        held.erase(binding.key);
    } else if (isHotkey) {
        held.insert(binding.key);
    }
    heldChanged();
    if (current && code) {
        if (isHotkey && hotkey->modifierOnly) {
            const auto own = Hotkey::flag(*code).value_or(0);
            current(KeyEventType::flagsChanged,
                    {*code, binding.release ? flags & ~own : flags | own, false});
        } else if (!binding.release) {
            current(KeyEventType::keyDown, {*code, flags, false});
        } else if (isHotkey) {
            current(KeyEventType::keyUp, {*code, flags, false});
        }
    }
    reconcile(); // what waited for the key
}

void SwayEventTap::releasedForEarlier(HardwareKey key)
{
    held.erase(key);
    heldChanged();
    reconcile();
}

void SwayEventTap::heldChanged()
{
    heldBefore = heldBefore && !held.empty();
    untilReleased.reset();
    guard.setHeld(held);
}

void SwayEventTap::waitForRelease()
{
    if (!untilReleased) {
        untilReleased = needs.loop.startTimer(longestHold, [this] {
            held.clear();
            heldChanged();
            reconcile();
        });
    }
}

} // namespace vorlin
