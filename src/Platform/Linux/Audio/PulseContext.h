#pragma once

#include "Async/Published.h"
#include "Platform/Linux/Audio/SoundThread.h"

#include <pulse/channelmap.h>
#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/subscribe.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// The microphone that the person chose on the desktop, or why there is none.
struct DefaultSource {
    enum class State {
        /// Not known yet: the server has not answered.
        unknown,
        serverAbsent,
        serverRefuses,
        /// The server has nothing to record from but what it plays itself.
        absent,
        present,
    };
    State state = State::unknown;
    /// These are set when present.
    std::string name;
    std::uint32_t rate = 0;
    pa_channel_map channels = {};

    bool operator==(const DefaultSource& other) const;
};

/// The one connection to the sound server (PulseAudio, or PipeWire in its place). It comes back by
/// itself when the server does, and knows the default source before it is needed. Sound thread,
/// except for its construction, its destruction and `thread()`.
///
/// Everything made on it must have left the sound thread before it is destroyed; what is posted
/// to the sound thread until then still runs.
class PulseContext {
public:
    PulseContext();
    PulseContext(const PulseContext&) = delete;
    PulseContext& operator=(const PulseContext&) = delete;
    ~PulseContext();

    /// Any thread.
    SoundThread& thread() { return soundThread; }

    /// The connection, or null while there is none.
    pa_context* connection() const;

    /// Kept by the server's events. Observers are called on the sound thread.
    const Published<DefaultSource, PulseContext>& defaultSource() const { return source; }

    /// The index of the source that went last. Observers are called on the sound thread.
    const Published<std::uint32_t, PulseContext>& removedSource() const { return removed; }

    /// Tries at once to connect, instead of at the next of the regular attempts; if there was no
    /// microphone, asks for one again, because the server's event may be on its way. Until that
    /// has an answer the default source is unknown.
    void connectNow();

    /// While the result is kept, work given to `afterCaptureStarts` waits.
    [[nodiscard]] std::shared_ptr<const void> holdOtherWork();

    /// Runs `work` at once, or as soon as no capture is being started any more.
    void afterCaptureStarts(Work work);

private:
    struct Unref {
        void operator()(pa_context* context) const { pa_context_unref(context); }
    };

    void connectionChanged();
    void connectionLost();
    void serverChanged(pa_subscription_event_type_t event, std::uint32_t index);
    /// Asks the server for its default source, unless it is being asked; then asks again.
    void askForSource();
    void serverAnswered(const pa_server_info* info);
    void sourceAnswered(const pa_source_info* info, int endOfList);
    void settle(DefaultSource found);

    std::unique_ptr<pa_context, Unref> context;
    /// Until the next attempt to connect.
    Duration pause;
    Timer nextAttempt;

    Published<DefaultSource, PulseContext> source;
    std::uint32_t sourceIndex;
    Published<std::uint32_t, PulseContext> removed;
    std::string defaultSink;
    DefaultSource answer;
    int asksLeft = 0; // before a default source that is not there means none
    Timer nextAsk;
    bool asking = false;
    bool askAgain = false;

    int captureStarts = 0;
    std::vector<Work> waiting;

    SoundThread soundThread; // last: it ends before what its work uses goes
};

} // namespace vorlin
