#pragma once

#include "Ports/SpeechAnalyzer.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace vorlin {

/// 16 kHz, mono.
using Samples = std::vector<std::int16_t>;

/// Where Debian puts the recogniser's models.
inline const std::filesystem::path systemModels = "/usr/share/pocketsphinx/model";

/// The samples of a fixture such as "weather".
Samples spoken(const std::string& fixture);

Samples silence(double seconds);

/// The parts, one after the other.
Samples joined(const std::vector<Samples>& parts);

/// Feeds `samples` to `analyzer` in buffers of the size that a 48 kHz microphone gives.
void feed(SpeechAnalyzer& analyzer, const Samples& samples);

/// How many words must be put in, left out or changed to make one text of the other.
int wordErrors(const std::string& expected, const std::string& got);

/// What a recogniser said, from whatever thread.
class Transcript {
public:
    struct Result {
        std::string text;
        bool isFinal = false;
    };

    /// The callback to give away; this object must outlive the analysis.
    SpeechAnalyzers::OnResult collector();

    std::vector<Result> all() const;
    std::size_t finals() const;
    /// The final texts, joined by a space.
    std::string finalText() const;

private:
    mutable std::mutex lock;
    std::vector<Result> results;
};

} // namespace vorlin
