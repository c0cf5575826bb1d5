#pragma once

#include "Async/MainLoop.h"
#include "PCMConverter.h"
#include "Parakeet/ParakeetRuntime.h"
#include "Transcriber.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vorlin {

/// The local speech engine at work on one dictation: cuts the audio into utterances, transcribes
/// them in order, and shows interim text of the one still being spoken.
class ParakeetTranscriber final : public Transcriber {
public:
    /// `directory` is the model folder. The ports must outlive this object and the tasks it
    /// started.
    ParakeetTranscriber(std::filesystem::path directory, std::shared_ptr<ParakeetRuntime> runtime,
                        AudioConverters& converters, MainLoop& loop);
    ~ParakeetTranscriber() override;

    void setOnText(OnText onText) override;
    std::optional<std::string> failure() const override;
    Task<void> prepare() override;
    void feed(const PCMBuffer& buffer) override;
    Task<std::string> finish() override;
    void cancel() override;

    /// Utterances that were cut and are not transcribed yet. Any thread.
    int queued() const;

private:
    struct State;
    std::shared_ptr<State> state;
    PCMConverter converter;
};

} // namespace vorlin
