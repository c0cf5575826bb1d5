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

    /// At once: a model that cannot be read fails the end, and nobody waits for one that can.
    Completion<Done> started() override
    {
        Completion<Done> begun;
        begun.completer().complete({});
        return begun;
    }

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
    : modelFolders(std::move(modelFolders)), workers(workers), loop(loop),
      worker(std::make_shared<SphinxWorker>(workers, loop, unloadDelay))
{
}

SphinxAnalyzers::~SphinxAnalyzers()
{
    worker->cancelAll();
}

/// Calls `answer` when the models that are there now have been found. Who asks while a look is
/// under way waits with it, so that a disk that hangs holds one thread, however often it is asked.
void SphinxAnalyzers::look(Answer answer)
{
    waiting.push_back(std::move(answer));
    if (waiting.size() > 1) {
        return;
    }
    const auto models = std::make_shared<SpeechModels>();
    workers.runPatiently(
        WorkPriority::normal, [folders = modelFolders, models] { *models = SpeechModels(folders); },
        loop, lifetime.guard([this, models] { looked(*models); }));
}

void SphinxAnalyzers::looked(SpeechModels models)
{
    found = std::move(models);
    for (const auto& answer : std::exchange(waiting, {})) {
        answer();
    }
}

Completion<std::optional<std::string>>
SphinxAnalyzers::supportedLocale(const std::string& equivalentTo)
{
    Completion<std::optional<std::string>> named;
    look([this, equivalentTo, completer = named.completer()] {
        const auto model = found.nearest(equivalentTo);
        completer.complete(model ? std::optional(model->locale) : std::nullopt);
    });
    return named;
}

Completion<std::optional<std::vector<std::string>>> SphinxAnalyzers::localesToOffer()
{
    Completion<std::optional<std::vector<std::string>>> offered;
    look([this, completer = offered.completer()] {
        std::vector<std::string> locales;
        for (const auto& model : found.all()) {
            locales.push_back(model.locale);
        }
        completer.complete(std::move(locales));
    });
    return offered;
}

Completion<Done> SphinxAnalyzers::installAssets(const std::string& locale)
{
    Completion<Done> installed;
    if (found.exactly(locale)) {
        installed.completer().complete({});
    } else {
        installed.completer().failWith(notInstalled(locale));
    }
    return installed;
}

Completion<std::optional<AudioFormat>> SphinxAnalyzers::bestAudioFormat(const std::string& locale)
{
    Completion<std::optional<AudioFormat>> format;
    format.completer().complete(found.exactly(locale) ? std::optional(SphinxWorker::format())
                                                      : std::nullopt);
    return format;
}

std::unique_ptr<SpeechAnalyzer> SphinxAnalyzers::start(const std::string& locale, OnResult onResult)
{
    auto model = found.exactly(locale);
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
