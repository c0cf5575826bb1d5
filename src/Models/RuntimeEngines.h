#pragma once

#include "Async/MainLoop.h"
#include "Models/SpeechEngines.h"
#include "Parakeet/ParakeetRuntime.h"
#include "Ports/AudioConverter.h"
#include "Ports/SpeechAnalyzer.h"

#include <memory>

namespace vorlin {

/// The engines that the program has: the local runtime's and the platform's own.
class RuntimeEngines final : public SpeechEngines {
public:
    /// The ports must outlive this object and every engine it made.
    RuntimeEngines(std::shared_ptr<ParakeetRuntime> runtime, SpeechAnalyzers& analyzers,
                   AudioConverters& converters, MainLoop& loop);

    std::shared_ptr<Transcriber> local(const std::filesystem::path& folder) override;
    std::shared_ptr<Transcriber> platform(const std::string& locale) override;
    void warm(const std::filesystem::path& folder) override
    {
        runtime->warm(folder, WorkPriority::background, {});
    }
    void unload() override { runtime->unload(); }

private:
    const std::shared_ptr<ParakeetRuntime> runtime;
    SpeechAnalyzers& analyzers;
    AudioConverters& converters;
    MainLoop& loop;
};

} // namespace vorlin
