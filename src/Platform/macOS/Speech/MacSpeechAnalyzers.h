#pragma once

#include "Platform/macOS/Plain/MainLoopDoor.h"
#include "Ports/SpeechAnalyzer.h"

namespace vorlin {

/// The platform's analyser. Systems older than it support no language.
class MacSpeechAnalyzers final : public SpeechAnalyzers {
public:
    /// `loop` must outlive this object and its analysers.
    explicit MacSpeechAnalyzers(MainLoop& loop) : loop(loop), door(loop) {}

    Completion<std::optional<std::string>>
    supportedLocale(const std::string& equivalentTo) override;
    /// None: who lacks their language is told no more than that.
    Completion<std::optional<std::vector<std::string>>> localesToOffer() override;
    Completion<Done> installAssets(const std::string& locale) override;
    Completion<std::optional<AudioFormat>> bestAudioFormat(const std::string& locale) override;
    std::unique_ptr<SpeechAnalyzer> start(const std::string& locale, OnResult onResult) override;

private:
    MainLoop& loop;
    OwnedDoor door;
};

} // namespace vorlin
