#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vorlin::test {

/// A recorded utterance and what the small speech model hears in it.
struct SpokenUtterance {
    std::filesystem::path file;
    std::string text;
    std::vector<std::int64_t> tokens;

    /// Mono at 16 kHz, −1 to 1.
    std::vector<float> samples() const;
};

/// The folder of the small speech model.
std::filesystem::path tinyModel();

/// Every recorded utterance.
std::vector<SpokenUtterance> spokenUtterances();

/// Those of several sentences in a voice, in order.
std::vector<SpokenUtterance> severalBy(const std::string& voice);

} // namespace vorlin::test
