#include "Platform/Linux/Audio/PulseCapture.h"

#include <pulse/def.h>
#include <pulse/error.h>
#include <pulse/timeval.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <span>
#include <utility>

namespace vorlin {

namespace {

using namespace std::chrono_literals;

/// For the server to say which source there is.
constexpr Duration answerLimit = 2s;
/// For the source to run; some headsets take seconds.
constexpr Duration openLimit = 5s;
/// For what was recorded until the stop to arrive; usually a few hundredths of a second.
constexpr Duration drainLimit = 500ms;
/// How long a source may be suspended, as it is while its rate is switched.
constexpr Duration suspensionLimit = 500ms;
/// How long a running source may deliver nothing.
constexpr Duration stallLimit = 5s;
/// The server hands over what it has recorded in pieces of about this length, and a stop waits
/// for one of them. Half of it made a server lose sound.
constexpr pa_usec_t fragment = 1024 * PA_USEC_PER_SEC / 48000;
/// For the way from the device to here, which not every server counts.
constexpr auto transport = 10ms;
/// More than any converter withholds.
constexpr pa_usec_t silence = 200 * PA_USEC_PER_MSEC;
/// The rates that can be converted; the server converts others to these.
constexpr std::uint32_t lowestRate = 8000;
constexpr std::uint32_t highestRate = 192000;

std::string openingFailed(int error)
{
    return std::string("The microphone could not be opened: ") + pa_strerror(error) + ".";
}

} // namespace

void TapGate::deliver(const PCMBuffer& buffer)
{
    const std::scoped_lock guard(lock);
    if (tap) {
        tap(buffer);
    }
}

void TapGate::close()
{
    AudioInput::Tap gone; // destroyed without the lock
    const std::scoped_lock guard(lock);
    gone.swap(tap);
}

PulseCapture::PulseCapture(PulseContext& context, std::shared_ptr<TapGate> tap, Events events)
    : context(context), tap(std::move(tap)), events(std::move(events))
{
}

void PulseCapture::begin()
{
    self = shared_from_this();
    othersHeld = context.holdOtherWork();
    context.connectNow();
    sourceWatch = context.defaultSource().observe([this](const auto&) { sourceChanged(); });
    failAfter(answerLimit, "The sound server does not answer.");
    sourceChanged();
}

void PulseCapture::sourceChanged()
{
    const auto keep = self;
    if (phase != Phase::waiting) {
        return;
    }
    const DefaultSource& source = context.defaultSource().get();
    switch (source.state) {
    case DefaultSource::State::unknown: break;
    case DefaultSource::State::serverAbsent: fail("The sound server is not running."); break;
    case DefaultSource::State::serverRefuses: fail("The sound server refuses this program."); break;
    case DefaultSource::State::absent: fail("No microphone was found."); break;
    case DefaultSource::State::present: open(source); break;
    }
}

void PulseCapture::open(const DefaultSource& source)
{
    phase = Phase::opening;
    failAfter(openLimit, "The microphone does not answer.");
    format = {.format = PA_SAMPLE_FLOAT32NE,
              .rate = std::clamp(source.rate, lowestRate, highestRate),
              .channels = source.channels.channels};
    buffers.emplace(
        AudioFormat{SampleType::float32, static_cast<double>(format.rate), format.channels, true},
        AudioInput::bufferFrames, [gate = tap](const PCMBuffer& buffer) { gate->deliver(buffer); });
    stream.reset(pa_stream_new(context.connection(), "Dictation", &format, &source.channels));
    if (!stream) {
        fail(openingFailed(pa_context_errno(context.connection())));
        return;
    }
    pa_stream_set_state_callback(
        stream.get(), [](pa_stream*, void* me) { static_cast<PulseCapture*>(me)->streamChanged(); },
        this);
    pa_stream_set_read_callback(
        stream.get(),
        [](pa_stream*, std::size_t, void* me) { static_cast<PulseCapture*>(me)->read(); }, this);
    pa_stream_set_suspended_callback(
        stream.get(),
        [](pa_stream*, void* me) { static_cast<PulseCapture*>(me)->suspensionChanged(); }, this);
    pa_stream_set_moved_callback(
        stream.get(),
        [](pa_stream*, void* me) {
            static_cast<PulseCapture*>(me)->fail("The microphone was disconnected.");
        },
        this);
    pa_buffer_attr attributes;
    attributes.maxlength = attributes.tlength = attributes.prebuf = attributes.minreq =
        static_cast<std::uint32_t>(-1);
    attributes.fragsize = static_cast<std::uint32_t>(pa_usec_to_bytes(fragment, &format));
    // A source that goes must not be replaced by another one, which may well be a loudspeaker's
    // monitor.
    const auto flags =
        static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    if (pa_stream_connect_record(stream.get(), source.name.c_str(), &attributes, flags) < 0) {
        fail(openingFailed(pa_context_errno(context.connection())));
    }
}

void PulseCapture::streamChanged()
{
    const auto keep = self;
    switch (pa_stream_get_state(stream.get())) {
    case PA_STREAM_READY:
        phase = Phase::recording;
        lastRead = std::chrono::steady_clock::now();
        othersHeld.reset();
        // Newer PipeWire servers let a stream live on without its source.
        removalWatch = context.removedSource().observe([this](std::uint32_t index) {
            if (stream && index == pa_stream_get_device_index(stream.get())) {
                fail("The microphone was disconnected.");
            }
        });
        watchForStall();
        events.started();
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED: {
        const int error = pa_context_errno(pa_stream_get_context(stream.get()));
        if (context.connection() == nullptr) {
            fail("The sound server has stopped.");
        } else if (phase == Phase::opening && error != PA_ERR_NOENTITY) {
            fail(openingFailed(error));
        } else {
            fail("The microphone was disconnected.");
        }
        break;
    }
    default: break;
    }
}

void PulseCapture::suspensionChanged()
{
    if (pa_stream_is_suspended(stream.get()) != 1) {
        suspended.reset();
        return;
    }
    if (suspended) {
        return;
    }
    suspended = context.thread().startTimer(suspensionLimit,
                                            [this] { fail("The microphone was suspended."); });
}

void PulseCapture::read()
{
    const auto keep = self;
    const void* samples = nullptr;
    std::size_t length = 0;
    while (stream && pa_stream_peek(stream.get(), &samples, &length) >= 0 && length > 0) {
        if (samples == nullptr) { // a hole
            buffers->appendSilence(length);
        } else {
            buffers->append({static_cast<const std::byte*>(samples), length});
        }
        bytesRead += length;
        lastRead = std::chrono::steady_clock::now();
        pa_stream_drop(stream.get());
    }
    if (phase == Phase::stopping && target && bytesRead >= *target) {
        finish();
    }
}

void PulseCapture::stop()
{
    if (phase != Phase::recording) {
        return;
    }
    const auto keep = self;
    phase = Phase::stopping;
    // Sound comes in pieces: what was heard since the last one is still to come, whether the
    // server counts it or not.
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - lastRead + transport);
    leastTarget = bytesRead + pa_usec_to_bytes(static_cast<pa_usec_t>(since.count()), &format);
    limit = context.thread().startTimer(drainLimit, [this] {
        const auto held = self;
        read();
        finish();
    });
    targetQuestion.reset(pa_stream_update_timing_info(
        stream.get(),
        [](pa_stream*, int success, void* me) {
            static_cast<PulseCapture*>(me)->targetAnswered(success != 0);
        },
        this));
    if (!targetQuestion) {
        finish();
    }
}

void PulseCapture::targetAnswered(bool success)
{
    const pa_timing_info* timing = success ? pa_stream_get_timing_info(stream.get()) : nullptr;
    if (phase != Phase::stopping || timing == nullptr || timing->write_index < 0) {
        return; // the limit ends it
    }
    // What the server has taken from the source, and what still waits before that.
    target = std::max(leastTarget, static_cast<std::uint64_t>(timing->write_index) +
                                       pa_usec_to_bytes(timing->source_usec, &format));
    read();
}

void PulseCapture::failAfter(Duration time, const std::string& reason)
{
    limit = context.thread().startTimer(time, [this, reason] { fail(reason); });
}

void PulseCapture::watchForStall()
{
    limit = context.thread().startTimer(stallLimit, [this, before = bytesRead] {
        if (bytesRead == before) {
            fail("The microphone delivers no sound.");
        } else {
            watchForStall();
        }
    });
}

void PulseCapture::fail(const std::string& reason)
{
    const auto keep = self;
    if (phase == Phase::ended) {
        return;
    }
    if (phase == Phase::stopping) { // everything there is has been read
        finish();
        return;
    }
    if (phase == Phase::recording) {
        deliverRest();
    }
    close();
    events.failed(reason);
}

void PulseCapture::finish()
{
    const auto keep = self;
    if (phase != Phase::stopping) {
        return;
    }
    close();
    deliverRest();
    events.stopped();
}

void PulseCapture::deliverRest()
{
    buffers->flush();
    buffers->appendSilence(pa_usec_to_bytes(silence, &format));
    buffers->flush();
}

void PulseCapture::end()
{
    const auto keep = self;
    close();
}

void PulseCapture::close()
{
    phase = Phase::ended;
    limit.reset();
    suspended.reset();
    sourceWatch.reset();
    removalWatch.reset();
    othersHeld.reset();
    targetQuestion.reset();
    stream.reset();
    self.reset();
}

} // namespace vorlin
