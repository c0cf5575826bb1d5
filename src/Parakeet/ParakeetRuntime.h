#pragma once

#include "Async/Executor.h"
#include "Async/MainLoop.h"
#include "Async/Stop.h"
#include "Async/Task.h"
#include "Ports/Defaults.h"
#include "Ports/Folders.h"
#include "Ports/MLModel.h"
#include "Ports/Workers.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

struct ParakeetLoaded;

/// Owns the local speech model: loads it from its folder on first use, keeps it while dictations
/// follow one another, and drops it after 600 s without use. One utterance is decoded at a time,
/// drafts included.
///
/// A load that gets on by nothing at all for half a minute fails, whatever hangs; a slow one does
/// not. A folder that hung is waited for ten seconds from then on, and loaded from anew after a
/// minute. A load for which no dictation waits runs in the background, hurries as soon as one does,
/// and gives way as soon as another folder is wanted.
///
/// An actor: its coroutines run on `executor()`, and must be awaited from tasks that run there.
class ParakeetRuntime {
public:
    using Loaded = ParakeetLoaded;

    /// The ports must outlive this object and its executor's work. In `memory` it keeps at which
    /// lengths models were found to say what they say at their full one; it keeps nothing without.
    ParakeetRuntime(MLModels& models, std::shared_ptr<Folders> folders, MainLoop& loop,
                    Workers& workers, Defaults* memory = nullptr);
    ParakeetRuntime(const ParakeetRuntime&) = delete;
    ParakeetRuntime& operator=(const ParakeetRuntime&) = delete;
    ~ParakeetRuntime();

    /// Where everything that uses the models runs, one piece at a time.
    Executor& executor();

    /// The text of one utterance: mono samples at 16 kHz, −1 to 1; what lies beyond 240000 is
    /// dropped. Loads the models of `directory` if they are not the loaded ones. Fails with
    /// `MLStopped` soon after `stop`, but lets a load go on; else with what is wrong in one line.
    Task<std::string> transcribe(std::vector<float> utterance, std::filesystem::path directory,
                                 WorkPriority priority, StopToken stop);

    /// Loads the models of `directory` ahead of their first use, unless another folder is warmed
    /// before its turn has come; failures are ignored, since the first use will meet them again.
    /// Once nobody has wanted the models for some seconds, finds out in the background how short
    /// utterances can be computed short; see `LengthProof`.
    /// `priority` is normal when a dictation waits for them until `stop` is requested. Any
    /// thread; returns at once.
    void warm(const std::filesystem::path& directory, WorkPriority priority, StopToken stop);

    /// What is computed ahead of need makes room at once: somebody is about to want the models.
    /// Any thread; returns at once.
    void hurry();

    /// While what it returns exists, and for some seconds after it, nothing is computed ahead of
    /// need. Any thread.
    std::shared_ptr<const void> dictation();

    /// Drops the loaded models once no utterance needs them, and those being loaded if nobody waits
    /// for them. Any thread; returns at once.
    void unload();

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace vorlin
