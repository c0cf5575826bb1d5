#pragma once

#include "Audio/PCMBuffer.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace vorlin {

/// Tells from captured sound, without an engine, whether somebody speaks.
///
/// Speech has voiced sounds: they are louder than the room, and repeat 80 to 350 times a second.
/// Typing and knocks are loud but do not repeat; a fan or a hum repeats but is the room. A voice is
/// speech once 0.4 s of the last second were voiced. Whispering is not heard. Of several channels
/// the loudest is heard: what somebody speaks into may be any of them. Any one thread.
class SpeechWatch {
public:
    /// Takes the next buffer; what is not float32 is silence. Returns whether somebody speaks at
    /// its end, or spoke in between.
    bool hear(const PCMBuffer& buffer);

private:
    void begin(double sampleRate);
    std::uint32_t loudest(const PCMBuffer& buffer);
    bool endPiece();
    double floor() const;
    double periodicity() const;

    /// Of the sound that is heard, frames a second; 0 before the first.
    double rate = 0;
    /// By channel: how loud it was lately.
    std::vector<double> loudness;
    /// The one that is heard.
    std::uint32_t channel = 0;
    /// So many samples become one.
    unsigned together = 1;
    /// `rate / together`, some 4000 a second.
    double coarseRate = 0;
    /// Samples that are to become one, so far.
    double sum = 0;
    unsigned summed = 0;
    /// The high-pass filter: its input and its output before.
    double filterIn = 0;
    double filterOut = 0;
    /// The present piece: its samples, filtered, and the power of what they were made of.
    std::vector<double> piece;
    double power = 0;
    /// Of the latest pieces, dBFS.
    std::deque<double> levels;
    /// Of the latest pieces.
    std::deque<bool> voiced;
};

} // namespace vorlin
