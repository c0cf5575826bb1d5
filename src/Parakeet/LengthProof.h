#pragma once

#include "Async/Completion.h"
#include "Async/Stop.h"
#include "Async/Task.h"
#include "Parakeet/ParakeetLoaded.h"
#include "Parakeet/ShorterLengths.h"

#include <array>
#include <cstddef>
#include <functional>

namespace vorlin {

/// How far outputs may be apart, as roots of mean squares: all frames that count together, and
/// each of them, relative to what the frames are on average.
struct LengthTolerance {
    double all = 0;
    double each = 0;
};

/// Whether two predictions agree: in the integer `length` exactly, and in so many frames of the
/// array `data` [1, D, T] within the tolerance.
bool agree(const MLFeatures& full, const MLFeatures& shorter, const char* data, const char* length,
           const LengthTolerance& tolerance);

/// Finds out at which lengths the two models, one behind the other, say what they say at their
/// full one: of sounds that are always the same, as short as they can be, of an odd number of
/// samples, about half as long as the length is for, and as long as it is for. The shorter encoder
/// reads what the shorter preprocessor says, as it will for an utterance. Takes as much computing
/// as some twenty utterances of 15 s, in eight cases.
class LengthProof {
public:
    /// Lets what else waits for the executor go first.
    using Turn = std::function<Completion<Done>()>;

    bool isDone() const;

    /// Goes on by one case. At background priority; fails with `MLStopped` soon after `stop` or
    /// with what a prediction failed with, unless the model knows no such length, and may then be
    /// called again.
    Task<void> proveNext(ParakeetLoaded& models, StopToken stop, Turn turn);

    /// What holds, once it is done.
    ShorterLengths result() const;

private:
    struct Running;

    std::size_t next = 0;
    std::array<bool, shorterLengthCount> failed{};
};

} // namespace vorlin
