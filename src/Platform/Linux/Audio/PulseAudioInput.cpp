#include "Platform/Linux/Audio/PulseAudioInput.h"

#include "Platform/Linux/Audio/PulseCapture.h"

#include <optional>
#include <utility>

namespace vorlin {

struct PulseAudioInput::Current {
    std::uint64_t number;
    std::shared_ptr<TapGate> tap;
    std::shared_ptr<PulseCapture> capture;
    OnFailure onFailure;
    /// Until it has started.
    std::optional<Completer<Done>> starting;
    /// Since it is to stop.
    std::optional<Completer<Done>> stopping;
};

PulseAudioInput::PulseAudioInput(PulseContext& context, MainLoop& loop)
    : context(context), loop(loop)
{
}

PulseAudioInput::~PulseAudioInput()
{
    drop();
}

Completion<Done> PulseAudioInput::start(Tap tap, OnFailure onFailure)
{
    drop();
    Completion<Done> started;
    const std::uint64_t number = ++captures;
    auto hear = lifetime.guard([this, number](Event event, const std::string& reason) {
        happened(number, event, reason);
    });
    // Called on the sound thread.
    auto tell = [&mainLoop = loop, hear](Event event, const std::string& reason) {
        mainLoop.post([hear, event, reason] { hear(event, reason); });
    };
    auto gate = std::make_shared<TapGate>(std::move(tap));
    auto capture = std::make_shared<PulseCapture>(
        context, gate,
        PulseCapture::Events{
            .started = [tell] { tell(Event::started, {}); },
            .failed = [tell](const std::string& reason) { tell(Event::failed, reason); },
            .stopped = [tell] { tell(Event::stopped, {}); },
        });
    current = std::make_unique<Current>(
        Current{number, std::move(gate), capture, std::move(onFailure), started.completer(), {}});
    context.thread().post([capture = std::move(capture)] { capture->begin(); });
    return started;
}

Completion<Done> PulseAudioInput::stop()
{
    Completion<Done> stopped;
    auto completer = stopped.completer();
    if (current && current->starting) {
        drop();
    }
    if (!current || current->stopping) {
        completer.complete({});
        return stopped;
    }
    current->stopping = std::move(completer);
    context.thread().post([capture = current->capture] { capture->stop(); });
    return stopped;
}

void PulseAudioInput::drop()
{
    if (const auto dropped = take()) {
        context.thread().post([capture = dropped->capture] { capture->end(); });
        if (dropped->stopping) {
            dropped->stopping->complete({});
        }
    }
}

void PulseAudioInput::happened(std::uint64_t number, Event event, const std::string& reason)
{
    if (!current || current->number != number) {
        return;
    }
    if (event == Event::started) {
        if (const auto starting = std::exchange(current->starting, std::nullopt)) {
            starting->complete({});
        }
        return;
    }
    const auto ended = take();
    if (ended->stopping) {
        // A capture that broke before it could stop has delivered all it had, too.
        ended->stopping->complete({});
    } else if (ended->starting) {
        ended->starting->failWith(reason);
    } else if (ended->onFailure) {
        ended->onFailure(reason);
    }
}

std::unique_ptr<PulseAudioInput::Current> PulseAudioInput::take()
{
    if (current) {
        current->tap->close();
    }
    return std::exchange(current, nullptr);
}

} // namespace vorlin
