#pragma once

#include "Async/Completion.h"
#include "Transcriber.h"

#include <optional>
#include <utility>
#include <vector>

namespace vorlin {

/// A speech engine that the test plays: preparing and finishing wait for the test, unless it
/// gave the answers beforehand.
class FakeTranscriber final : public Transcriber {
public:
    bool preparesAtOnce = true;
    std::optional<std::string> finishesAtOnceWith = "hello world";
    std::optional<std::string> saysOfFailure;
    std::vector<std::uint32_t> fedFrames;
    bool prepared = false;
    bool finishing = false;
    int cancels = 0;
    OnText onText;

    void setOnText(OnText newOnText) override { onText = std::move(newOnText); }
    std::optional<std::string> failure() const override { return saysOfFailure; }

    Task<void> prepare() override
    {
        if (!preparesAtOnce) {
            co_await preparation;
        }
        prepared = true;
    }

    void feed(const PCMBuffer& buffer) override { fedFrames.push_back(buffer.frameLength()); }

    Task<std::string> finish() override
    {
        finishing = true;
        if (finishesAtOnceWith) {
            co_return *finishesAtOnceWith;
        }
        co_return co_await ending;
    }

    void cancel() override { ++cancels; }

    void completePrepare() { prepares.complete({}); }
    void failPrepare(const std::string& message) { prepares.failWith(message); }
    void completeFinish(const std::string& text) { finishes.complete(text); }

private:
    Completion<Done> preparation;
    Completer<Done> prepares = preparation.completer();
    Completion<std::string> ending;
    Completer<std::string> finishes = ending.completer();
};

} // namespace vorlin
