#include "AppleTranscriber.h"

#include "Engine.h"
#include "Preferences.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

constexpr const char* unavailableLanguage = "Speech recognition is unavailable for this language.";

/// Whether a recogniser's locale, "en-GB" or a bare "en", is that of `language`.
bool fits(const std::string& locale, const DictationLanguage& language)
{
    const auto& identifier = language.identifier;
    return locale == identifier || locale == identifier.substr(0, identifier.find('-'));
}

/// A language that the recogniser has: US English, else the first of the settings' list.
std::optional<std::string> instead(const std::vector<std::string>& offered)
{
    const auto isOffered = [&](const DictationLanguage& language) {
        return std::ranges::any_of(
            offered, [&](const std::string& locale) { return fits(locale, language); });
    };
    auto found = std::ranges::find(dictationLanguages, "en-US", &DictationLanguage::identifier);
    if (!isOffered(*found)) {
        found = std::ranges::find_if(dictationLanguages, isOffered);
    }
    return found == dictationLanguages.end() ? std::nullopt
                                             : std::optional<std::string>(found->displayName);
}

/// Says which engine knows the language that the recogniser lacks, or that none does.
std::string unavailable(const std::string& language,
                        const std::optional<std::vector<std::string>>& offered)
{
    if (!offered) {
        return unavailableLanguage;
    }
    if (const auto* engine = Engine::knowing(language)) {
        return displayName(language) + ": " + engine->name + " (" + engine->sizeLabel +
               ") knows it.";
    }
    const auto other = instead(*offered);
    return "No engine knows this language." + (other ? " " + *other + " is available." : "");
}

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
    const auto supported = co_await analyzers.supportedLocale(locale);
    if (!supported) {
        const auto offered = co_await analyzers.localesToOffer();
        throw std::runtime_error(unavailable(locale, offered));
    }
    co_await analyzers.installAssets(*supported);
    const auto format = co_await analyzers.bestAudioFormat(*supported);
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
    co_await analyzer->started();
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
