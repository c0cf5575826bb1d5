#include "Platform/macOS/MacAudioInput.h"

#include "Platform/macOS/Objects/AudioBuffers.h"
#include "Platform/macOS/Objects/Observer.h"
#include "Platform/macOS/Objects/Text.h"
#include "Platform/macOS/Plain/TapGate.h"

#include <AVFAudio/AVFAudio.h>

#include <atomic>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

namespace {

constexpr AVAudioNodeBus microphoneBus = 0;

/// On the capture thread, which has no pool of its own.
void deliver(AVAudioPCMBuffer* buffer, TapGate& gate)
{
    @autoreleasepool {
        const auto format = formatOf(buffer.format);
        if (format) {
            PCMBuffer heard(*format, buffer.frameLength);
            copyFrames(buffer, heard);
            gate.deliver(heard);
        }
    }
}

} // namespace

struct MacAudioInput::Engine {
    Ref<AVAudioEngine> engine;
    /// What the capture's buffers go through; nothing without a capture.
    std::shared_ptr<TapGate> gate;
    /// The input node has a tap, though it may not run yet.
    bool tapInstalled = false;
    /// What the tap was made for; nothing for samples that no buffer has.
    std::optional<AudioFormat> tapped;
    Observer changes;
    /// How often the microphone was set running: what was told of an earlier time is settled. The
    /// notifying thread reads it.
    std::shared_ptr<std::atomic<unsigned>> runs = std::make_shared<std::atomic<unsigned>>(0);

    std::optional<std::string> begin();
    /// It runs, and the microphone is as it was when it began.
    bool goesOn() const;
    void end();

private:
    std::optional<std::string> tapAndStart();
};

/// Lets the microphone run into the gate. Returns in one line why it cannot.
std::optional<std::string> MacAudioInput::Engine::begin()
{
    ++*runs;
    @try {
        return tapAndStart();
    } @catch (NSException* exception) { // no microphone at all, or none that can be used
        return lineOf(exception);
    }
}

std::optional<std::string> MacAudioInput::Engine::tapAndStart()
{
    AVAudioInputNode* const microphone = engine.get().inputNode;
    AVAudioFormat* const format = [microphone outputFormatForBus:microphoneBus];
    tapped = formatOf(format);
    const auto open = gate;
    [microphone installTapOnBus:microphoneBus
                     bufferSize:bufferFrames
                         format:format
                          block:^(AVAudioPCMBuffer* buffer, AVAudioTime* /*when*/) {
                            deliver(buffer, *open);
                          }];
    tapInstalled = true;
    [engine.get() prepare];
    NSError* error = nil;
    return [engine.get() startAndReturnError:&error] ? std::nullopt : std::optional(lineOf(error));
}

bool MacAudioInput::Engine::goesOn() const
{
    return engine.get().isRunning != NO &&
           formatOf([engine.get().inputNode outputFormatForBus:microphoneBus]) == tapped;
}

void MacAudioInput::Engine::end()
{
    if (std::exchange(tapInstalled, false)) {
        [engine.get() stop];
        [engine.get().inputNode removeTapOnBus:microphoneBus];
    }
}

MacAudioInput::MacAudioInput(MainLoop& loop) : engine(std::make_unique<Engine>()), door(loop)
{
    engine->engine = Ref(autoreleased([[AVAudioEngine alloc] init]));
    // Told on a thread of the engine's, within which nothing of it may be stopped.
    engine->changes =
        Observer([NSNotificationCenter defaultCenter], AVAudioEngineConfigurationChangeNotification,
                 engine -> engine.get(), [this, way = door.shared(), runs = engine->runs] {
                     way->post([this, run = runs->load()] { configurationChanged(run); });
                 });
}

MacAudioInput::~MacAudioInput()
{
    drop();
}

Completion<Done> MacAudioInput::start(Tap tap, OnFailure whenBroken)
{
    drop();
    Completion<Done> started;
    onFailure = std::move(whenBroken);
    engine->gate = std::make_shared<TapGate>(std::move(tap));
    if (const auto reason = engine->begin()) {
        started.completer().failWith(*reason);
    } else {
        started.completer().complete({});
    }
    return started;
}

Completion<Done> MacAudioInput::stop()
{
    drop();
    Completion<Done> stopped;
    stopped.completer().complete({});
    return stopped;
}

void MacAudioInput::drop()
{
    engine->end();
    if (const auto gate = std::exchange(engine->gate, nullptr)) {
        gate->close();
    }
    onFailure = {};
}

void MacAudioInput::configurationChanged(unsigned run)
{
    if (!engine->gate || run != *engine->runs) {
        return;
    }
    // A start may itself change what is told of: to begin again for that would never end.
    if (engine->goesOn()) {
        return;
    }
    engine->end();
    if (const auto reason = engine->begin()) {
        const auto tell = std::exchange(onFailure, {});
        drop();
        tell(*reason);
    }
}

} // namespace vorlin
