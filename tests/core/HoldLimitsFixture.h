#pragma once

#include "AppModelFixture.h"

#include "PlayedSound.h"

#include <string>
#include <vector>

namespace vorlin {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;

inline constexpr double rate = 48000;

/// A desktop that may never tell that a key was let go.
class HoldLimitsTest : public AppModelFixture {
protected:
    HoldLimitsTest()
    {
        desktop.tap.canLoseReleases = true;
        desktop.focus.focused = 7;
        desktop.pasteboard.copy(FakePasteboard::text("copied before"));
    }

    Phase phase() const { return model->dictation.phase.get(); }
    std::size_t pastes() const { return desktop.keys.posted.size() / 2; }
    std::string notice() const { return model->dictation.notice.get().value_or(""); }
    void perform(DictationAction action)
    {
        model->perform(action);
        desktop.loop.runReady();
    }
    /// Somebody speaks for a second, of which half is silence.
    void speak()
    {
        const Sound sound = joined(silence(0.5, rate), vowel(0.5, rate));
        for (const auto& buffer : captured(sound, rate)) {
            desktop.microphone.deliver(buffer);
        }
        desktop.loop.runReady();
    }
    void wait(Duration time) { desktop.loop.advance(time); }
};

} // namespace vorlin
