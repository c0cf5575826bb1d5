#pragma once

#include "Async/Completion.h"
#include "Audio/PCMBuffer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// One stream of speech analysed by the platform's recogniser.
class SpeechAnalyzer {
public:
    virtual ~SpeechAnalyzer() = default;

    /// Completes when the analysis has begun; fails with a `std::runtime_error` when it cannot.
    /// Asked at most once, before the end of the stream. Main loop.
    virtual Completion<Done> started() = 0;

    /// Hands over the next audio, in the format that `bestAudioFormat` named. Any one thread at
    /// a time; queues and returns at once. Ignored after the end of the stream.
    virtual void input(std::shared_ptr<const PCMBuffer> buffer) = 0;

    /// Ends the input. Completes when everything heard has become final text and every result
    /// has been delivered; fails with a `std::runtime_error` when the analysis failed. Main loop.
    virtual Completion<Done> finalizeAndFinishThroughEndOfInput() = 0;

    /// Ends the analysis without further results. Main loop; returns at once.
    virtual void cancelAndFinishNow() = 0;
};

/// The platform's recogniser: which languages it knows, and analyses in them. Main loop. Nothing
/// here waits for a disk; what may have to is a `Completion`.
class SpeechAnalyzers {
public:
    /// One result: its text as the recogniser gave it, and whether it will not change any more.
    /// Called from a thread of the recogniser's, one call at a time, in order.
    using OnResult = std::function<void(const std::string& text, bool isFinal)>;

    virtual ~SpeechAnalyzers() = default;

    /// The recogniser's own locale for a locale identifier such as "en-GB", or nothing when it
    /// has none for that language. Asked before a locale is used: the others take what it named.
    virtual Completion<std::optional<std::string>>
    supportedLocale(const std::string& equivalentTo) = 0;

    /// The recogniser's locales, to tell a person of whose language it has none; nothing where the
    /// platform fetches what it lacks by itself.
    virtual Completion<std::optional<std::vector<std::string>>> localesToOffer() = 0;

    /// Makes the data of a supported locale available; fails with a `std::runtime_error`.
    virtual Completion<Done> installAssets(const std::string& locale) = 0;

    /// The format in which a supported locale's analyser wants its input, or nothing.
    virtual Completion<std::optional<AudioFormat>> bestAudioFormat(const std::string& locale) = 0;

    /// Starts an analysis. Returns at once, also while models are still loading: input queues. What
    /// goes wrong later, `started` tells. `onResult` is never called after the analyser is finished
    /// or cancelled. Fails with a `std::runtime_error`.
    virtual std::unique_ptr<SpeechAnalyzer> start(const std::string& locale, OnResult onResult) = 0;
};

} // namespace vorlin
