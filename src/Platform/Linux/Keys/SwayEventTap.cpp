#include "Platform/Linux/Keys/SwayEventTap.h"

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
/// Before a sway that takes no questions is asked again.
constexpr std::chrono::seconds pause{1};

/// A member that is a string; empty for anything else.
std::string text(const json& object, const char* name)
{
    const auto member = object.is_object() ? object.find(name) : object.end();
    return member != object.end() && member->is_string() ? member->get<std::string>() : "";
}

/// The layouts of one keyboard of `get_inputs`. Those that programs make say nothing of the
/// person's.
void addLayouts(std::set<std::string>& layouts, const json& input)
{
    const auto names = input.is_object() ? input.find("xkb_layout_names") : input.end();
    if (text(input, "type") != "keyboard" || names == input.end() || !names->is_array() ||
        text(input, "identifier").find("virtual") != std::string::npos) {
        return;
    }
    for (const auto& name : *names) {
        if (name.is_string()) {
            layouts.insert(name.get<std::string>());
        }
    }
}

std::size_t count(const SwayBindings& bindings)
{
    std::size_t result = 0;
    for (const auto& [mode, each] : bindings) {
        result += each.size();
    }
    return result;
}

bool contains(const SwayBindings& bindings, const std::string& mode, const SwayBinding& binding)
{
    const auto found = bindings.find(mode);
    return found != bindings.end() && found->second.contains(binding);
}

void merge(SwayBindings& into, const SwayBindings& more)
{
    for (const auto& [mode, each] : more) {
        into[mode].insert(each.begin(), each.end());
    }
}

void take(SwayBindings& from, const SwayBindings& away)
{
    for (const auto& [mode, each] : away) {
        for (const auto& binding : each) {
            from[mode].erase(binding);
        }
    }
}

} // namespace

SwayEventTap::SwayEventTap(Needs wanted)
    : needs(std::move(wanted)), guard(needs.guard), leftovers(guard.leftovers()),
      held(guard.heldBefore()), heldBefore(!held.empty()), alive(std::make_shared<int>())
{
    heldChanged();
    events = needs.socket.observe(
        [this](SwayEvent event, const json& details) { follow(event, details); });
    connection =
        needs.socket.connected().observe([this](bool connected) { connectionChanged(connected); });
    if (needs.socket.connected().get()) {
        ask();
    }
}

SwayEventTap::~SwayEventTap()
{
    stop();
    if (count(bound) + count(leftovers) > 0 || changing) {
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
    ++epoch; // what was asked on the old connection is not answered
    awaited = 0;
    changing = false;
    learning = false;
    untilAsked.reset();
    learnt.reset();
    forget();
    if (connected) {
        ask();
    }
}

/// Who is connected to may be another sway, or the same one with all that was bound.
void SwayEventTap::forget()
{
    merge(leftovers, std::exchange(bound, {}));
    wishes.refused.clear();
}

/// Asks sway for everything that binding a key takes.
void SwayEventTap::ask()
{
    facts = {};
    untilAsked.reset();
    learning = false;
    stale = false;
    const auto asked = ++epoch;
    const auto nobodyTook = std::make_shared<bool>(false);
    const auto question = [&](SwayRequest request, auto take) {
        ++awaited;
        needs.socket.ask(
            request, "",
            [this, asked, take, nobodyTook, token = std::weak_ptr(alive)](const json* answer) {
                if (token.expired() || asked != epoch) {
                    return;
                }
                if (answer != nullptr) {
                    take(*answer);
                } else {
                    *nobodyTook = true;
                }
                if (--awaited > 0) {
                    return;
                }
                if (*nobodyTook) {
                    untilAsked = needs.loop.startTimer(pause, [this] { ask(); });
                } else {
                    learn();
                }
            });
    };
    awaited = 0;
    question(SwayRequest::getBindingState, [this](const json& answer) {
        const auto name = text(answer, "name");
        mode = name.empty() ? "default" : name;
    });
    question(SwayRequest::getVersion, [this](const json& answer) {
        facts.configuration.path = text(answer, "loaded_config_file_name");
    });
    question(SwayRequest::getConfig,
             [this](const json& answer) { facts.configuration.text = text(answer, "config"); });
    question(SwayRequest::getInputs, [this](const json& answer) {
        if (answer.is_array()) {
            for (const auto& input : answer) {
                addLayouts(facts.layouts, input);
            }
        }
    });
}

/// The rest of the configuration, and the layouts, are on the disk.
void SwayEventTap::learn()
{
    const auto result = std::make_shared<SwayKnowledge>();
    const auto asked = ++epoch; // what is being read meanwhile is of yesterday
    learning = true;
    needs.workers.runPatiently(
        WorkPriority::normal, [result, known = facts] { *result = SwayKnowledge::of(known); },
        needs.loop,
        [this, asked, result, token = std::weak_ptr(alive)] {
            if (token.expired() || asked != epoch) {
                return;
            }
            learning = false;
            const bool isNews = wishes.knowledge.chooseLevel != result->chooseLevel ||
                                wishes.knowledge.taken != result->taken;
            learnt = facts;
            wishes.knowledge = std::move(*result);
            reconcile();
            if (isNews) {
                noteLayoutChange();
            }
            if (stale) {
                askInputs();
            }
        });
}

void SwayEventTap::follow(SwayEvent event, const json& details)
{
    const auto change = text(details, "change");
    if (event == SwayEvent::binding) {
        const auto binding = details.find("binding");
        if (binding != details.end()) {
            if (const auto ours = swayBindingNamed(text(*binding, "command"), guard.token())) {
                told(*ours);
            } else if (const auto theirs = heldBefore ? swayBindingNamed(text(*binding, "command"),
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
        learnt.reset();
        ask();
    } else if (event == SwayEvent::input && change != "xkb_layout" && change != "libinput_config") {
        askInputs();
    }
}

/// The keyboards may have become others; what is being learnt may not know it yet.
void SwayEventTap::askInputs()
{
    stale = !learnt || awaited > 0 || learning;
    if (stale) {
        return;
    }
    needs.socket.ask(SwayRequest::getInputs, "",
                     [this, token = std::weak_ptr(alive)](const json* answer) {
                         if (!token.expired() && answer != nullptr && answer->is_array()) {
                             inputsAnswered(*answer);
                         }
                     });
}

void SwayEventTap::inputsAnswered(const json& answer)
{
    stale = !learnt || awaited > 0 || learning;
    if (stale) {
        return;
    }
    std::set<std::string> layouts;
    for (const auto& input : answer) {
        addLayouts(layouts, input);
    }
    if (layouts != learnt->layouts) {
        facts = *learnt;
        facts.layouts = std::move(layouts);
        learn();
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
    if (!learnt || changing || !needs.socket.connected().get()) {
        return;
    }
    updateConflict();
    const auto change = nextChange();
    auto all = bound;
    merge(all, leftovers);
    merge(all, change.bind);
    guard.keep(all);
    if (!held.empty() && (!handler || heldBefore || count(change.unbind) > 0)) {
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
            untilAsked = needs.loop.startTimer(pause, [this] { ask(); });
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
    take(bound, change.unbind);
    take(leftovers, change.unbind);
    take(leftovers, change.bind);
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
