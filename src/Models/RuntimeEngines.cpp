#include "Models/RuntimeEngines.h"

#include "AppleTranscriber.h"
#include "Parakeet/ParakeetTranscriber.h"

#include <utility>

namespace vorlin {

RuntimeEngines::RuntimeEngines(std::shared_ptr<ParakeetRuntime> runtime, SpeechAnalyzers& analyzers,
                               AudioConverters& converters, MainLoop& loop)
    : runtime(std::move(runtime)), analyzers(analyzers), converters(converters), loop(loop)
{
}

std::shared_ptr<Transcriber> RuntimeEngines::local(const std::filesystem::path& folder)
{
    return std::make_shared<ParakeetTranscriber>(folder, runtime, converters, loop);
}

std::shared_ptr<Transcriber> RuntimeEngines::platform(const std::string& locale)
{
    return std::make_shared<AppleTranscriber>(analyzers, converters, locale);
}

} // namespace vorlin
