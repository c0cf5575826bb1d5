#include "AppleTranscriber.h"

#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

constexpr const char* unavailableLanguage = "Speech recognition is unavailable for this language.";

} // namespace

AppleTranscriber::AppleTranscriber(SpeechAnalyzers& analyzers, AudioConverters& converters,
                                   std::string locale)
    : analyzers(analyzers), converters(converters), locale(std::move(locale))
{
}

void AppleTranscriber::setOnText(OnText onText)
{
    results->onText = std::move(onText);
}

Task<void> AppleTranscriber::prepare()
{
    const auto supported = analyzers.supportedLocale(locale);
    if (!supported) {
        throw std::runtime_error(unavailableLanguage);
    }
    co_await analyzers.installAssets(*supported);
    const auto format = analyzers.bestAudioFormat(*supported);
    if (!format) {
        throw std::runtime_error(unavailableLanguage);
    }
    converter = std::make_unique<PCMConverter>(converters, *format);
    analyzer =
        analyzers.start(*supported, [results = results](const std::string& text, bool isFinal) {
            const auto combined = results->text.add(text, isFinal);
            if (results->onText) {
                results->onText(combined);
            }
        });
}

void AppleTranscriber::feed(const PCMBuffer& buffer)
{
    if (!converter) {
        return;
    }
    if (auto converted = converter->convert(buffer)) {
        analyzer->input(std::move(converted));
    }
}

Task<std::string> AppleTranscriber::finish()
{
    if (analyzer) {
        try {
            co_await analyzer->finalizeAndFinishThroughEndOfInput();
        } catch (const std::exception& error) {
            failureText = error.what(); // the text gathered so far stays
        }
    }
    co_return results->text.finished();
}

void AppleTranscriber::cancel()
{
    if (analyzer) {
        analyzer->cancelAndFinishNow();
    }
}

} // namespace vorlin
