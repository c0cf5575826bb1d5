#include "Platform/Linux/Speech/SphinxAnalyzers.h"

#include "Platform/Linux/Speech/SphinxWorker.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

constexpr Duration unloadDelay = std::chrono::seconds(600);

std::string notInstalled(const std::string& locale)
{
    return fmt::format("There is no speech model for {} on this machine.", locale);
}

/// One stream of the worker; gone without having been finished, it counts as cancelled.
class SphinxAnalyzer final : public SpeechAnalyzer {
public:
    SphinxAnalyzer(std::shared_ptr<SphinxWorker> worker, SphinxWorker::StreamHandle stream)
        : worker(std::move(worker)), stream(std::move(stream))
    {
    }
    SphinxAnalyzer(const SphinxAnalyzer&) = delete;
    SphinxAnalyzer& operator=(const SphinxAnalyzer&) = delete;
    ~SphinxAnalyzer() override { worker->cancel(stream); }

    void input(std::shared_ptr<const PCMBuffer> buffer) override
    {
        worker->add(stream, std::move(buffer));
    }

    Completion<Done> finalizeAndFinishThroughEndOfInput() override
    {
        Completion<Done> finished;
        worker->finish(stream, finished.completer());
        return finished;
    }

    void cancelAndFinishNow() override { worker->cancel(stream); }

private:
    std::shared_ptr<SphinxWorker> worker;
    SphinxWorker::StreamHandle stream;
};

} // namespace

SphinxAnalyzers::SphinxAnalyzers(std::vector<std::filesystem::path> modelFolders, Workers& workers,
                                 MainLoop& loop)
    : models(std::move(modelFolders)),
      worker(
          std::make_shared<SphinxWorker>(workers.executor(WorkPriority::normal), loop, unloadDelay))
{
}

SphinxAnalyzers::~SphinxAnalyzers()
{
    worker->cancelAll();
}

std::optional<std::string> SphinxAnalyzers::supportedLocale(const std::string& equivalentTo)
{
    const auto model = models.nearest(equivalentTo);
    return model ? std::optional(model->locale) : std::nullopt;
}

std::vector<std::string> SphinxAnalyzers::localesToOffer()
{
    std::vector<std::string> locales;
    for (auto& model : models.installed()) {
        locales.push_back(std::move(model.locale));
    }
    return locales;
}

Completion<Done> SphinxAnalyzers::installAssets(const std::string& locale)
{
    Completion<Done> installed;
    if (models.exactly(locale)) {
        installed.completer().complete({});
    } else {
        installed.completer().failWith(notInstalled(locale));
    }
    return installed;
}

std::optional<AudioFormat> SphinxAnalyzers::bestAudioFormat(const std::string& locale)
{
    return models.exactly(locale) ? std::optional(SphinxWorker::format()) : std::nullopt;
}

std::unique_ptr<SpeechAnalyzer> SphinxAnalyzers::start(const std::string& locale, OnResult onResult)
{
    auto model = models.exactly(locale);
    if (!model) {
        throw std::runtime_error(notInstalled(locale));
    }
    return std::make_unique<SphinxAnalyzer>(worker,
                                            worker->open(std::move(*model), std::move(onResult)));
}

bool SphinxAnalyzers::holdsModel() const
{
    return worker->holdsDecoder();
}

} // namespace vorlin
