#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Platform/Linux/Speech/SpeechModels.h"
#include "Ports/SpeechAnalyzer.h"
#include "Ports/Workers.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

class SphinxWorker;

/// The recogniser that is built in: PocketSphinx with the models installed on the machine.
///
/// An analysis gives volatile results while someone speaks, a final one at each pause of half a
/// second and at the end; a result is its words, without capitals (but the English "I") and
/// without punctuation. Results are those of the current utterance; one with nothing to say is
/// not delivered, except that an empty volatile one takes back volatile words. Analyses are decoded
/// one after the other, in the order they were started, and their audio queues meanwhile.
///
/// Models are looked for at every question for locales, and loaded by `start`, on threads where
/// nobody else waits for a disk that does not answer. The model stays in memory until ten minutes
/// after the last analysis ended.
class SphinxAnalyzers final : public SpeechAnalyzers {
public:
    /// `modelFolders`: see `SpeechModels`. The workers' threads must be gone, or these analyzers
    /// must still be there, when `loop` goes.
    SphinxAnalyzers(std::vector<std::filesystem::path> modelFolders, Workers& workers,
                    MainLoop& loop);
    SphinxAnalyzers(const SphinxAnalyzers&) = delete;
    SphinxAnalyzers& operator=(const SphinxAnalyzers&) = delete;
    /// Cancels what runs.
    ~SphinxAnalyzers() override;

    Completion<std::optional<std::string>>
    supportedLocale(const std::string& equivalentTo) override;
    /// All that is installed.
    Completion<std::optional<std::vector<std::string>>> localesToOffer() override;
    /// Completes at once: the model was found or it was not.
    Completion<Done> installAssets(const std::string& locale) override;
    /// 16 kHz, one channel, 16 bits, not interleaved, for every locale whose model was found.
    Completion<std::optional<AudioFormat>> bestAudioFormat(const std::string& locale) override;
    /// With the model as it was found last.
    std::unique_ptr<SpeechAnalyzer> start(const std::string& locale, OnResult onResult) override;

    /// Whether a model is in memory. Any thread.
    bool holdsModel() const;

private:
    using Answer = std::function<void()>;

    void look(Answer answer);
    void looked(SpeechModels models);

    const std::vector<std::filesystem::path> modelFolders;
    Workers& workers;
    MainLoop& loop;
    std::shared_ptr<SphinxWorker> worker;
    /// What the last look has found.
    SpeechModels found;
    /// Who waits for the look under way.
    std::vector<Answer> waiting;
    const Lifetime lifetime; // last: nothing of ours is called once anything is gone
};

} // namespace vorlin
