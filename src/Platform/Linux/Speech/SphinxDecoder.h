#pragma once

#include "Platform/Linux/Speech/SpeechModels.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

struct ps_decoder_s;

namespace vorlin {

/// PocketSphinx parameters by name ("-lw") and their values.
using DecoderSettings = std::vector<std::pair<std::string, std::string>>;

/// One decoder with its model in memory (about 100 MB): streams of audio in, words out. A stream
/// is cut into utterances; words are final when their utterance ends. What it learns about the
/// sound of microphone and voice carries over to the next utterance and stream.
///
/// Works in the calling thread: one thread at a time, never the main or an audio thread.
class SphinxDecoder {
public:
    /// Samples a second, mono.
    static constexpr std::uint32_t sampleRate = 16000;

    /// The settings that measurement chose; see docs/decisions/0006-recogniser.md.
    static DecoderSettings measuredSettings();

    /// Loads `model`, in a quarter of a second or more. Fails with a `std::runtime_error` of one
    /// line for a person. What a damaged file had occupied by then may stay occupied.
    explicit SphinxDecoder(const SpeechModel& model,
                           const DecoderSettings& settings = measuredSettings());
    SphinxDecoder(const SphinxDecoder&) = delete;
    SphinxDecoder& operator=(const SphinxDecoder&) = delete;
    ~SphinxDecoder();

    /// Begins a stream and its first utterance. Fails with a `std::runtime_error`.
    void beginStream();

    /// Ends the stream and drops the words of its utterance.
    void abandonStream();

    /// Decodes the next samples, which should be few (20 ms) for `inSpeech` to be exact. Fails
    /// with a `std::runtime_error`.
    void decode(std::span<const std::int16_t> samples);

    /// Whether the last samples were speech; it turns false when a pause has lasted a while.
    bool inSpeech() const;

    /// The words of the running utterance as they look now, or empty.
    std::string hypothesis() const;

    /// Whether what was just heard sounds like a gap between two words, 150 ms long at least:
    /// a place where an utterance can be cut although the room is too loud for a pause to show.
    bool betweenWords() const;

    /// What the decoder has learnt about the sound, to be given to the next decoder of the model.
    std::vector<float> learnt() const;
    /// Ignored when it comes from a model of another shape.
    void adopt(const std::vector<float>& learntBefore);

    /// Ends the utterance, begins the next, and gives the words of the one that ended. Fails
    /// with a `std::runtime_error`.
    std::string endUtterance();

private:
    struct Free {
        void operator()(ps_decoder_s* decoder) const;
    };

    void check(int status) const;

    std::string locale;
    std::unique_ptr<ps_decoder_s, Free> decoder;
};

} // namespace vorlin
