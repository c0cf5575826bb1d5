#pragma once

#include "Ports/MLModel.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vorlin {

// An utterance is padded to what the models declare, 15 s. Where they say the same of less
// padding, less is computed.

/// A length of the two models, one behind the other.
struct ShorterLength {
    std::int64_t samples = 0; // of the preprocessor
    std::int64_t frames = 0;  // of the encoder, which reads what the preprocessor says of those

    bool operator==(const ShorterLength&) const = default;
};

/// Those at which the two are known to say of an utterance what they say at their full length,
/// ascending.
using ShorterLengths = std::vector<ShorterLength>;

/// So many lengths there are: of 2, 3, 4, 6, 8 and 11 s.
inline constexpr std::size_t shorterLengthCount = 6;

/// What the loads of the two tell of their inputs. Each length has some room behind the speech
/// that it is for: the last frames depend on the zeros there, and in some exports on how the
/// padding itself is computed.
MLFrames preprocessorFrames();
MLFrames encoderFrames();

/// All of them.
ShorterLengths everyShorterLength();

/// The fewest samples that lengths are for: one window.
inline constexpr std::int64_t leastSpeech = 400;

/// The most samples that the length of that number, of six, is for.
std::int64_t longestSpeech(std::size_t number);

/// The smallest of the lengths for so many samples, with that room behind them; none of fewer
/// than `leastSpeech`, of which nothing is proved.
std::optional<ShorterLength> shortestFor(const ShorterLengths& lengths, std::int64_t count);

} // namespace vorlin
