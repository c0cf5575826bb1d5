#pragma once

#include "Ports/SpeechAnalyzer.h"

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vorlin {

/// A recogniser that the test plays.
class FakeSpeechAnalyzers final : public SpeechAnalyzers {
public:
    /// One analysis, as the test sees it; outlives the analyser.
    struct Stream {
        std::string locale;
        OnResult onResult;
        std::vector<std::uint32_t> inputFrames;
        std::optional<Completer<Done>> start;
        bool finishing = false;
        bool cancelled = false;
        std::optional<Completer<Done>> finish;
    };

    /// What is asked for, and the recogniser's own locale for it.
    std::map<std::string, std::string> locales = {{"en-US", "en-US"}};
    std::optional<std::vector<std::string>> offered;
    bool looksAtOnce = true;
    std::optional<AudioFormat> format = AudioFormat{SampleType::int16, 16000, 1, false};
    bool assetsInstalled = true;
    std::string assetFailure;
    bool startsAtOnce = true;
    std::string startFailure;
    bool finishesAtOnce = true;
    /// Said, as final text, when a stream is finished.
    std::string spoken;
    std::string finishFailure;
    std::vector<std::shared_ptr<Stream>> streams;
    int installations = 0;
    /// The locales of all that was installed, asked for its format and started.
    std::vector<std::string> used;

    Completion<std::optional<std::string>> supportedLocale(const std::string& equivalentTo) override
    {
        const auto found = locales.find(equivalentTo);
        const auto locale = found == locales.end() ? std::nullopt : std::optional(found->second);
        Completion<std::optional<std::string>> named;
        auto answer = [completer = named.completer(), locale] { completer.complete(locale); };
        if (looksAtOnce) {
            answer();
        } else {
            looking.emplace_back(std::move(answer));
        }
        return named;
    }

    /// Answers what has been asked while nothing was looked up at once.
    void completeLookups()
    {
        for (const auto& answer : std::exchange(looking, {})) {
            answer();
        }
    }

    Completion<std::optional<std::vector<std::string>>> localesToOffer() override
    {
        return answered(offered);
    }

    Completion<Done> installAssets(const std::string& locale) override
    {
        Completion<Done> installed;
        used.push_back(locale);
        const auto completer = installed.completer();
        ++installations;
        if (!assetFailure.empty()) {
            completer.failWith(assetFailure);
        } else if (assetsInstalled) {
            completer.complete({});
        } else {
            installing = completer;
        }
        return installed;
    }

    void completeInstallation()
    {
        if (const auto completer = std::exchange(installing, std::nullopt)) {
            completer->complete({});
        }
    }

    Completion<std::optional<AudioFormat>> bestAudioFormat(const std::string& locale) override
    {
        used.push_back(locale);
        return answered(format);
    }

    std::unique_ptr<SpeechAnalyzer> start(const std::string& locale, OnResult onResult) override
    {
        used.push_back(locale);
        auto stream = std::make_shared<Stream>();
        stream->locale = locale;
        stream->onResult = std::move(onResult);
        streams.push_back(stream);
        return std::make_unique<Analyzer>(*this, stream);
    }

    void start(Stream& stream) const
    {
        const auto completer = *std::exchange(stream.start, std::nullopt);
        if (startFailure.empty()) {
            completer.complete({});
        } else {
            completer.failWith(startFailure);
        }
    }

    void finish(Stream& stream) const
    {
        if (stream.cancelled || !stream.finish) {
            return;
        }
        if (!spoken.empty()) {
            stream.onResult(spoken, true);
        }
        const auto completer = *std::exchange(stream.finish, std::nullopt);
        if (finishFailure.empty()) {
            completer.complete({});
        } else {
            completer.failWith(finishFailure);
        }
    }

private:
    template <class T>
    static Completion<T> answered(T value)
    {
        Completion<T> answer;
        answer.completer().complete(std::move(value));
        return answer;
    }

    class Analyzer final : public SpeechAnalyzer {
    public:
        Analyzer(FakeSpeechAnalyzers& owner, std::shared_ptr<Stream> stream)
            : owner(owner), stream(std::move(stream))
        {
        }
        Completion<Done> started() override
        {
            Completion<Done> begun;
            stream->start = begun.completer();
            if (owner.startsAtOnce) {
                owner.start(*stream);
            }
            return begun;
        }
        void input(std::shared_ptr<const PCMBuffer> buffer) override
        {
            stream->inputFrames.push_back(buffer->frameLength());
        }
        Completion<Done> finalizeAndFinishThroughEndOfInput() override
        {
            Completion<Done> finished;
            stream->finishing = true;
            stream->finish = finished.completer();
            if (owner.finishesAtOnce) {
                owner.finish(*stream);
            }
            return finished;
        }
        void cancelAndFinishNow() override
        {
            stream->cancelled = true;
            stream->finish.reset();
        }

    private:
        FakeSpeechAnalyzers& owner;
        std::shared_ptr<Stream> stream;
    };

    std::optional<Completer<Done>> installing;
    std::vector<std::function<void()>> looking;
};

} // namespace vorlin
