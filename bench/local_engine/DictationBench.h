#pragma once

#include "Parakeet/ParakeetTranscriber.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "TimedModels.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeDesktop.h"

#include <chrono>
#include <filesystem>
#include <memory>

namespace vorlin {

/// Dictates into the local engine with a model folder, as fast as the engine transcribes. On the
/// main thread.
class DictationBench {
public:
    DictationBench(std::filesystem::path folder, MLModels& models, MainLoop& loop,
                   Workers& workers);

    struct Result {
        std::chrono::nanoseconds total{0};
        TimedModels::Times times;
    };

    /// One dictation, all of whose audio has come at the release.
    Result dictate(double seconds, bool withDraft);

    /// One dictation, so long, with a pause after two to ten seconds of speech each; what is cut at
    /// a pause is transcribed before anything more is said. The wait after the release.
    std::chrono::nanoseconds dictateWithPauses(double seconds, unsigned seed);

    /// Loads the models for somebody who is about to speak; returns once they are loaded.
    void load();

    /// Waits until the lengths of the loaded models are proved; how long that took, the quiet time
    /// before it included.
    std::chrono::nanoseconds prove();

    void unload();

private:
    std::chrono::nanoseconds release(ParakeetTranscriber& transcriber);

    const std::filesystem::path folder;
    TimedModels timed;
    MainLoop& loop;
    std::shared_ptr<XDGFolders> folders = std::make_shared<XDGFolders>("/nowhere");
    FakeAudioConverters converters;
    FakeDefaults memory;
    std::shared_ptr<ParakeetRuntime> runtime;
};

} // namespace vorlin
