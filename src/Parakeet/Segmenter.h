#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace vorlin {

/// Cuts the continuous signal of one dictation into utterances: mono float samples at 16 kHz, −1
/// to 1. All its lengths are numbers of samples.
///
/// A frame of 20 ms is speech when its RMS is above 2.5 times the noise floor, which follows the
/// quiet frames, and above 0.006. An utterance ends at a pause once it is 8 s long, at 14 s
/// wherever it is, and at the end of the input; up to 300 ms before its first speech and 200 ms
/// after its last belong to it.
class Segmenter {
public:
    using Samples = std::vector<float>;
    /// Receives each finished utterance, in order, on the thread that completed it and outside
    /// the lock: it may call back.
    using Emit = std::function<void(Samples)>;

    static constexpr std::int64_t frame = 320;
    /// Most quiet audio kept in front of the first speech.
    static constexpr std::int64_t preRoll = 4800;
    /// Silence kept at the end of an utterance.
    static constexpr std::int64_t keepTail = 3200;
    /// The silence that counts as a pause.
    static constexpr std::int64_t pauseToCut = 6400;
    /// The length from which a pause ends an utterance.
    static constexpr std::int64_t softLimit = 128000;
    /// The length at which an utterance ends in any case.
    static constexpr std::int64_t hardLimit = 224000;
    /// The least audio of an utterance, the silence at its end left out.
    static constexpr std::int64_t minSpeech = 4000;

    /// The utterance being collected, and the number of cuts before it.
    struct Draft {
        Samples samples;
        std::int64_t cuts = 0;
    };

    explicit Segmenter(Emit emit);
    Segmenter(const Segmenter&) = delete;
    Segmenter& operator=(const Segmenter&) = delete;

    /// Takes the next samples, any number. One that is no finite number counts as 0. Any thread;
    /// calls that overlap deliver utterances in no promised order.
    void append(std::span<const float> samples);

    /// Ends the input: the utterance being collected ends here, whatever its state.
    void flush();

    /// A copy of the utterance being collected, when it has speech and at least `minSpeech`
    /// samples. Any thread.
    std::optional<Draft> draft() const;

    /// How many cuts were made, utterance or not; a draft is stale once it has changed. Any
    /// thread.
    std::int64_t cuts() const;

private:
    void process(std::span<const float> samples, std::vector<Samples>& into);
    void cut(std::vector<Samples>& into);
    void deliver(std::vector<Samples> utterances) const;

    mutable std::mutex lock;
    /// The utterance being collected: pre-roll, speech, and the silence after it.
    Samples segment;
    /// Less than a frame, not yet looked at.
    Samples pending;
    /// A frame of `segment` is speech.
    bool heardSpeech = false;
    /// Samples since the last speech, or the last cut.
    std::int64_t silentRun = 0;
    /// Running estimate of the RMS of background noise.
    float noiseFloor = 0.004F;
    std::int64_t cutsMade = 0;
    const Emit emit;
};

} // namespace vorlin
