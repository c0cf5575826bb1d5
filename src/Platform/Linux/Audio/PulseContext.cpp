#include "Platform/Linux/Audio/PulseContext.h"

#include <pulse/def.h>
#include <pulse/error.h>
#include <pulse/operation.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace vorlin {

namespace {

constexpr Duration firstPause = std::chrono::milliseconds(200);
constexpr Duration longestPause = std::chrono::seconds(5);

/// How often a server is asked again for a default source that it names but does not have.
constexpr int mostAsks = 5;
constexpr Duration askPause = std::chrono::milliseconds(100);

/// Lets the operation go on by itself.
void detach(pa_operation* operation)
{
    if (operation != nullptr) {
        pa_operation_unref(operation);
    }
}

} // namespace

bool DefaultSource::operator==(const DefaultSource& other) const
{
    return state == other.state && name == other.name && rate == other.rate &&
           channels.channels == other.channels.channels &&
           std::equal(channels.map, channels.map + channels.channels, other.channels.map);
}

PulseContext::PulseContext()
    : pause(firstPause), sourceIndex(PA_INVALID_INDEX), removed(PA_INVALID_INDEX)
{
    soundThread.post([this] { connectNow(); });
}

PulseContext::~PulseContext()
{
    soundThread.post([this] {
        nextAttempt.reset();
        nextAsk.reset();
        if (context) {
            pa_context_set_state_callback(context.get(), nullptr, nullptr);
            pa_context_set_subscribe_callback(context.get(), nullptr, nullptr);
            pa_context_disconnect(context.get());
            context.reset();
        }
    });
}

pa_context* PulseContext::connection() const
{
    return context && pa_context_get_state(context.get()) == PA_CONTEXT_READY ? context.get()
                                                                              : nullptr;
}

void PulseContext::connectNow()
{
    if (context) {
        if (source.get().state == DefaultSource::State::absent) {
            source.set({});
            askForSource();
        }
        return;
    }
    nextAttempt.reset();
    source.set({});
    auto* connecting = pa_context_new(soundThread.events(), "Vorlin");
    context.reset(connecting);
    if (connecting == nullptr) {
        connectionLost();
        return;
    }
    pa_context_set_state_callback(
        connecting,
        [](pa_context*, void* me) { static_cast<PulseContext*>(me)->connectionChanged(); }, this);
    pa_context_set_subscribe_callback(
        connecting,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t index, void* me) {
            static_cast<PulseContext*>(me)->serverChanged(event, index);
        },
        this);
    // Whether a sound server runs is the desktop's decision: none is started from here. The
    // state callback may have come, and the context be another one, when the call returns.
    const int result = pa_context_connect(connecting, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
    if (result < 0 && context.get() == connecting) {
        connectionLost();
    }
}

void PulseContext::connectionChanged()
{
    switch (pa_context_get_state(context.get())) {
    case PA_CONTEXT_READY:
        pause = firstPause;
        asking = false;
        asksLeft = mostAsks;
        detach(pa_context_subscribe(context.get(),
                                    static_cast<pa_subscription_mask_t>(
                                        PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SOURCE),
                                    nullptr, nullptr));
        askForSource();
        break;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED: connectionLost(); break;
    default: break;
    }
}

void PulseContext::connectionLost()
{
    const int error = context ? pa_context_errno(context.get()) : PA_ERR_INTERNAL;
    if (context) {
        pa_context_set_state_callback(context.get(), nullptr, nullptr);
        pa_context_set_subscribe_callback(context.get(), nullptr, nullptr);
        context.reset();
    }
    nextAsk.reset();
    nextAttempt = soundThread.startTimer(pause, [this] { connectNow(); });
    pause = std::min(2 * pause, longestPause);

    DefaultSource none;
    none.state = error == PA_ERR_ACCESS || error == PA_ERR_AUTHKEY
                     ? DefaultSource::State::serverRefuses
                     : DefaultSource::State::serverAbsent;
    source.set(std::move(none));
}

void PulseContext::serverChanged(pa_subscription_event_type_t event, std::uint32_t index)
{
    const auto facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const auto kind = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    const bool otherSource = facility == PA_SUBSCRIPTION_EVENT_SOURCE &&
                             kind == PA_SUBSCRIPTION_EVENT_CHANGE && index != sourceIndex;
    if (!otherSource) {
        askForSource();
    }
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE && kind == PA_SUBSCRIPTION_EVENT_REMOVE) {
        removed.set(index);
    }
}

void PulseContext::askForSource()
{
    if (asking) {
        askAgain = true;
        return;
    }
    asking = true;
    askAgain = false;
    answer = {};
    answer.state = DefaultSource::State::absent;
    detach(pa_context_get_server_info(
        context.get(),
        [](pa_context*, const pa_server_info* info, void* me) {
            static_cast<PulseContext*>(me)->serverAnswered(info);
        },
        this));
}

void PulseContext::serverAnswered(const pa_server_info* info)
{
    if (info == nullptr || info->default_source_name == nullptr ||
        *info->default_source_name == '\0') {
        settle(std::move(answer));
        return;
    }
    defaultSink = info->default_sink_name == nullptr ? "" : info->default_sink_name;
    detach(pa_context_get_source_info_by_name(
        context.get(), info->default_source_name,
        [](pa_context*, const pa_source_info* source, int endOfList, void* me) {
            static_cast<PulseContext*>(me)->sourceAnswered(source, endOfList);
        },
        this));
}

void PulseContext::sourceAnswered(const pa_source_info* info, int endOfList)
{
    if (endOfList < 0 && asksLeft > 0) {
        // A PipeWire server whose devices are still coming names a default that is not there.
        --asksLeft;
        nextAsk = soundThread.startTimer(askPause, [this] {
            asking = false;
            askForSource();
        });
        return;
    }
    if (endOfList != 0) {
        settle(std::move(answer));
        return;
    }
    sourceIndex = info->index;
    // Without a microphone the server names what it plays itself as the source.
    if (info->monitor_of_sink_name != nullptr && info->monitor_of_sink_name == defaultSink) {
        return;
    }
    answer.state = DefaultSource::State::present;
    answer.name = info->name;
    answer.rate = info->sample_spec.rate;
    answer.channels = info->channel_map;
}

void PulseContext::settle(DefaultSource found)
{
    asking = false;
    asksLeft = mostAsks;
    if (askAgain) {
        askForSource();
        return;
    }
    source.set(std::move(found));
}

std::shared_ptr<const void> PulseContext::holdOtherWork()
{
    ++captureStarts;
    return {this, [](PulseContext* context) {
                if (--context->captureStarts > 0) {
                    return;
                }
                const auto released = std::exchange(context->waiting, {});
                for (const Work& work : released) {
                    work();
                }
            }};
}

void PulseContext::afterCaptureStarts(Work work)
{
    if (captureStarts > 0) {
        waiting.push_back(std::move(work));
    } else {
        work();
    }
}

} // namespace vorlin
