#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Dictation.h"
#include "Ports/FocusedProgram.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace vorlin {

/// Ends a dictation in which nobody has spoken for 30 s, where what is to end it may never be told,
/// and says what may become of its text. Speech is what `Dictation::onSpeech` tells, and live text
/// that grows. Main loop.
class HoldLimits {
public:
    /// All must outlive this object, which takes `dictation.onSpeech`.
    HoldLimits(MainLoop& loop, Dictation& dictation, FocusedProgram& focus);
    HoldLimits(const HoldLimits&) = delete;
    HoldLimits& operator=(const HoldLimits&) = delete;
    ~HoldLimits();

    /// A dictation has begun, into the window that has the focus now. `limited`: it may never be
    /// told to end.
    void begin(bool limited);

    /// The latest dictation was ended by silence, not by the person.
    bool endedBySilence() const { return silent; }

    /// The window that the latest limited dictation was begun in, where the desktop tells.
    std::optional<std::uint64_t> window() const { return origin; }

private:
    void follow();
    void spoken();
    void grown(const std::string& text);
    void wait();
    void look();

    MainLoop& loop;
    Dictation& dictation;
    FocusedProgram& focus;
    bool limited = false;
    bool silent = false;
    std::optional<std::uint64_t> origin;
    /// Dictations so far.
    std::uint64_t begun = 0;
    TimePoint latestSpeech;
    /// Of the live text, bytes.
    std::size_t longestText = 0;
    Timer timer;
    Subscription phaseChanges;
    Subscription textChanges;
    Lifetime lifetime;
};

} // namespace vorlin
