#include "HoldLimits.h"

#include <utility>

namespace vorlin {

namespace {

constexpr auto longestSilence = std::chrono::seconds(30);

} // namespace

HoldLimits::HoldLimits(MainLoop& loop, Dictation& dictation, FocusedProgram& focus)
    : loop(loop), dictation(dictation), focus(focus)
{
    dictation.onSpeech = lifetime.guard([this] { spoken(); });
    phaseChanges = dictation.phase.observe([this](Dictation::Phase) { follow(); });
    textChanges = dictation.transcript.observe([this](const std::string& text) { grown(text); });
}

HoldLimits::~HoldLimits() = default;

void HoldLimits::begin(bool next)
{
    limited = next;
    silent = false;
    longestText = 0;
    origin.reset();
    ++begun;
    if (limited) {
        focus.look(lifetime.guard([this, asked = begun] {
            if (asked == begun) { // else it is too late
                origin = focus.window();
            }
        }));
    }
    follow(); // it may listen already
}

void HoldLimits::follow()
{
    timer.reset();
    if (limited && dictation.phase.get() == Dictation::Phase::listening &&
        !dictation.isDemo.get()) {
        spoken();
        wait();
    }
}

void HoldLimits::spoken()
{
    latestSpeech = loop.now();
}

void HoldLimits::grown(const std::string& text)
{
    if (text.size() > longestText) {
        longestText = text.size();
        spoken();
    }
}

void HoldLimits::wait()
{
    timer = loop.startTimer(latestSpeech + longestSilence - loop.now(), [this] { look(); });
}

void HoldLimits::look()
{
    if (loop.now() - latestSpeech < longestSilence) {
        wait();
        return;
    }
    silent = true;
    dictation.keyUp();
}

} // namespace vorlin
