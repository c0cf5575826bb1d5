#pragma once

#include "PCMConverter.h"
#include "Ports/SpeechAnalyzer.h"
#include "Transcriber.h"

#include <memory>
#include <optional>
#include <string>

namespace vorlin {

/// The speech engine built on the platform's own recogniser: live text, nothing to download.
class AppleTranscriber final : public Transcriber {
public:
    /// `locale` is the dictation language, such as "en-GB". The ports must outlive this object.
    AppleTranscriber(SpeechAnalyzers& analyzers, AudioConverters& converters, std::string locale);

    void setOnText(OnText onText) override;
    std::optional<std::string> failure() const override { return failureText; }
    Task<void> prepare() override;
    void feed(const PCMBuffer& buffer) override;
    Task<std::string> finish() override;
    void cancel() override;

private:
    /// What the recogniser's results need, also after this object is gone.
    struct Results {
        TextAccumulator text;
        OnText onText;
    };

    SpeechAnalyzers& analyzers;
    AudioConverters& converters;
    const std::string locale;
    std::shared_ptr<Results> results = std::make_shared<Results>();
    std::unique_ptr<SpeechAnalyzer> analyzer;
    std::unique_ptr<PCMConverter> converter;
    std::optional<std::string> failureText;
};

} // namespace vorlin
