#pragma once

#include "Async/Completion.h"
#include "Audio/PCMBuffer.h"
#include "Platform/Linux/Speech/SpeechModels.h"
#include "Platform/Linux/Speech/UtteranceResults.h"
#include "Ports/SpeechAnalyzer.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The audio of one analysis on its way to the decoder, and its results on their way back.
struct SphinxStream {
    SphinxStream(SpeechModel model, SpeechAnalyzers::OnResult onResult);

    /// Tells a result, unless the stream was cancelled.
    void deliver(const std::string& text, bool isFinal);

    /// Takes out the next samples, `most` at most. With the worker's lock held.
    std::vector<std::int16_t> take(std::size_t most);

    const SpeechModel model;
    const SpeechAnalyzers::OnResult onResult;
    std::atomic<bool> cancelled = false;

    /// Held while a result is delivered, so that a cancel can promise that none comes later.
    /// Recursive, because a callback may let go of the last owner of this very analysis.
    std::recursive_mutex delivery;

    // Guarded by the worker's lock.
    std::deque<std::shared_ptr<const PCMBuffer>> waiting;
    std::size_t takenOfFirst = 0;
    bool finishing = false;
    bool retired = false;
    std::exception_ptr failure;
    std::optional<Completer<Done>> finished;

    // Touched by steps only.
    bool begun = false;
    bool heardSpeech = false;
    std::size_t samplesOfUtterance = 0;
    UtteranceResults results{
        [this](const std::string& text, bool isFinal) { deliver(text, isFinal); }};
};

} // namespace vorlin
