#include "Platform/Linux/Audio/PulseSounds.h"

#include "Platform/Linux/Audio/PulseStream.h"
#include "Platform/Linux/Audio/SoundData.h"

#include <pulse/proplist.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <utility>

namespace vorlin {

namespace {

/// How long a capture may take to ask for its start after a sound was asked for.
constexpr Duration captureGoesFirst = std::chrono::milliseconds(50);
/// A sink that has not played a sound by then never will.
constexpr Duration playLimit = std::chrono::seconds(5);

/// One sound on its way to the loudspeakers. Sound thread.
class Playing {
public:
    Playing(std::span<const std::uint8_t> samples, std::function<void()> ended)
        : samples(samples), ended(std::move(ended))
    {
    }
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;
    ~Playing() = default;

    void start(pa_context* connection)
    {
        const pa_sample_spec format = {.format = PA_SAMPLE_S16LE, .rate = soundRate, .channels = 1};
        pa_proplist* properties = pa_proplist_new();
        pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "event");
        stream.reset(
            pa_stream_new_with_proplist(connection, "Sound", &format, nullptr, properties));
        pa_proplist_free(properties);
        if (!stream) {
            ended();
            return;
        }
        pa_stream_set_state_callback(
            stream.get(), [](pa_stream*, void* me) { static_cast<Playing*>(me)->changed(); }, this);
        pa_buffer_attr attributes;
        attributes.maxlength = attributes.tlength = attributes.minreq = attributes.fragsize =
            static_cast<std::uint32_t>(-1);
        attributes.prebuf = 0; // starts with the first sample
        if (pa_stream_connect_playback(stream.get(), nullptr, &attributes, PA_STREAM_NOFLAGS,
                                       nullptr, nullptr) < 0) {
            ended();
        }
    }

private:
    void changed()
    {
        switch (pa_stream_get_state(stream.get())) {
        case PA_STREAM_READY:
            pa_stream_write(stream.get(), samples.data(), samples.size(), nullptr, 0,
                            PA_SEEK_RELATIVE);
            drained.reset(pa_stream_drain(
                stream.get(), [](pa_stream*, int, void* me) { static_cast<Playing*>(me)->ended(); },
                this));
            break;
        case PA_STREAM_FAILED:
        case PA_STREAM_TERMINATED: ended(); break;
        default: break;
        }
    }

    std::span<const std::uint8_t> samples;
    std::function<void()> ended;
    PulseStream stream;
    PulseOperation drained;
};

} // namespace

class PulseSounds::Player : public std::enable_shared_from_this<Player> {
public:
    explicit Player(PulseContext& context) : context(context) {}

    void play(std::span<const std::uint8_t> samples)
    {
        const std::uint64_t number = ++sounds;
        auto start = [weak = weak_from_this(), number, samples] {
            if (const auto player = weak.lock()) {
                player->start(number, samples);
            }
        };
        playing[number].timer =
            context.thread().startTimer(captureGoesFirst, [this, start = std::move(start)] {
                context.afterCaptureStarts(start);
            });
    }

private:
    struct Sound {
        /// Until it may start; then until it should have ended.
        Timer timer;
        std::unique_ptr<Playing> stream;
    };

    void start(std::uint64_t number, std::span<const std::uint8_t> samples)
    {
        auto* connection = context.connection();
        if (connection == nullptr) {
            playing.erase(number);
            return;
        }
        auto forget = [this, number] {
            // Not now: the sound is in a call of its own.
            context.thread().post([weak = weak_from_this(), number] {
                if (const auto player = weak.lock()) {
                    player->playing.erase(number);
                }
            });
        };
        Sound& sound = playing[number];
        sound.timer = context.thread().startTimer(playLimit, forget);
        sound.stream = std::make_unique<Playing>(samples, forget);
        sound.stream->start(connection);
    }

    PulseContext& context;
    std::uint64_t sounds = 0;
    std::map<std::uint64_t, Sound> playing;
};

PulseSounds::PulseSounds(PulseContext& context)
    : context(context), player(std::make_shared<Player>(context))
{
}

PulseSounds::~PulseSounds()
{
    context.thread().post([gone = std::move(player)]() mutable { gone.reset(); });
}

void PulseSounds::play(const std::string& name)
{
    const auto samples = soundSamples(name);
    if (!samples.empty()) {
        context.thread().post([player = player, samples] { player->play(samples); });
    }
}

} // namespace vorlin
