#pragma once

#include "Async/Stop.h"
#include "Async/Task.h"
#include "Parakeet/ParakeetLoaded.h"
#include "Ports/MLModel.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorlin {

/// How one utterance's predictions run.
struct PredictOptions {
    WorkPriority priority = WorkPriority::normal;
    StopToken stop;
};

/// The text of one utterance: mono samples at 16 kHz, of which the first 240000 count. Runs no
/// model for an empty one. Fails with `RuntimeError::badOutput`, `MLStopped`, or a prediction's
/// own error.
Task<std::string> decode(const std::vector<float>& utterance, ParakeetLoaded& models,
                         PredictOptions options);

/// The token ids that the token-and-duration transducer finds in the first `frames` frames of the
/// encoder's output [1, D, T], greedily: at each frame the joint names a token and how many
/// frames to go on; at most 8 tokens are taken from one frame. 8192 is "no token".
Task<std::vector<std::int64_t>> greedyTDT(const MultiArray& encoder, std::int64_t frames,
                                          ParakeetLoaded& models, PredictOptions options);

/// The text of `tokens`: their pieces in a row, special ones in angle brackets left out, word
/// starts made spaces, spaces and tabs trimmed.
std::string detokenised(const std::vector<std::int64_t>& tokens,
                        const std::vector<std::string>& vocabulary);

} // namespace vorlin
