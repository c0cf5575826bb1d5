#include "Platform/Linux/Keys/SwayInquiry.h"

#include "Platform/Linux/Sway/SwayAnswers.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

using nlohmann::json;

/// Before a sway that takes no questions is asked again.
constexpr std::chrono::seconds pause{1};

/// The layouts of one keyboard of `get_inputs`. Those that programs make say nothing of the
/// person's.
void addLayouts(std::set<std::string>& layouts, const json& input)
{
    const auto names = input.is_object() ? input.find("xkb_layout_names") : input.end();
    if (swayText(input, "type") != "keyboard" || names == input.end() || !names->is_array() ||
        swayText(input, "identifier").find("virtual") != std::string::npos) {
        return;
    }
    for (const auto& name : *names) {
        if (name.is_string()) {
            layouts.insert(name.get<std::string>());
        }
    }
}

} // namespace

SwayInquiry::SwayInquiry(Needs wanted, Listener told)
    : needs(wanted), listener(std::move(told)), alive(std::make_shared<int>())
{
}

void SwayInquiry::drop()
{
    ++epoch;
    awaited = 0;
    learning = false;
    untilAsked.reset();
    known.reset();
}

void SwayInquiry::askLater()
{
    untilAsked = needs.loop.startTimer(pause, [this] { ask(); });
}

void SwayInquiry::ask()
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
                    askLater();
                } else {
                    learn();
                }
            });
    };
    awaited = 0;
    question(SwayRequest::getBindingState, [this](const json& answer) {
        const auto name = swayText(answer, "name");
        listener.mode(name.empty() ? "default" : name);
    });
    question(SwayRequest::getVersion, [this](const json& answer) {
        facts.configuration.path = swayText(answer, "loaded_config_file_name");
    });
    question(SwayRequest::getConfig,
             [this](const json& answer) { facts.configuration.text = swayText(answer, "config"); });
    question(SwayRequest::getInputs, [this](const json& answer) {
        if (answer.is_array()) {
            for (const auto& input : answer) {
                addLayouts(facts.layouts, input);
            }
        }
    });
}

/// The rest of the configuration, and the layouts, are on the disk.
void SwayInquiry::learn()
{
    const auto result = std::make_shared<SwayKnowledge>();
    const auto asked = ++epoch; // what is being read meanwhile is of yesterday
    learning = true;
    needs.workers.runPatiently(
        WorkPriority::normal, [result, given = facts] { *result = SwayKnowledge::of(given); },
        needs.loop,
        [this, asked, result, token = std::weak_ptr(alive)] {
            if (token.expired() || asked != epoch) {
                return;
            }
            learning = false;
            known = facts;
            listener.learnt(std::move(*result));
            if (!token.expired() && stale) {
                askInputs();
            }
        });
}

void SwayInquiry::askInputs()
{
    stale = isBusy();
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

void SwayInquiry::inputsAnswered(const json& answer)
{
    stale = isBusy();
    if (stale) {
        return;
    }
    std::set<std::string> layouts;
    for (const auto& input : answer) {
        addLayouts(layouts, input);
    }
    if (layouts != known->layouts) {
        facts = *known;
        facts.layouts = std::move(layouts);
        learn();
    }
}

} // namespace vorlin
