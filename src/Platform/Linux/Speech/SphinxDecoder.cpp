#include "Platform/Linux/Speech/SphinxDecoder.h"

#include "Platform/Linux/Speech/HypothesisText.h"
#include "Platform/Linux/Speech/LanguageModelFile.h"
#include "Platform/Linux/Speech/ModelDefinition.h"
#include "Platform/Linux/Speech/SphinxLibrary.h"

#include <fmt/format.h>

#include <array>
#include <mutex>
#include <stdexcept>

namespace vorlin {

namespace {

constexpr const char* recognitionFailed = "Speech recognition failed.";

/// Thrown out of the library where it would end the process.
class LibraryFailure : public std::runtime_error {
public:
    LibraryFailure() : std::runtime_error(recognitionFailed) {}
};

/// The library reports an error that it calls fatal and then calls `exit`. Leaving it with an
/// exception instead keeps the program alive; what it had allocated is lost.
// NOLINTNEXTLINE(cert-dcl50-cpp): the library's type
void onLibraryMessage(void*, err_lvl_t level, const char*, ...)
{
    if (level == ERR_FATAL) {
        throw LibraryFailure();
    }
}

void silenceLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] {
        sphinx().setErrorCallback(onLibraryMessage, nullptr);
        sphinx().setLog(nullptr); // settings are printed there, past the callback
    });
}

std::runtime_error unreadable(const std::string& locale)
{
    return std::runtime_error(
        fmt::format("The speech model for {} cannot be read. Install it again.", locale));
}

std::vector<std::string> argumentsFor(const SpeechModel& model, const DecoderSettings& settings)
{
    // Mapped into memory, a file that was cut short would end the process when it is read.
    DecoderSettings all = {{"-mmap", "no"},
                           {"-hmm", model.acousticModel.string()},
                           {"-lm", model.languageModel.string()},
                           {"-dict", model.dictionary.string()},
                           {"-samprate", std::to_string(SphinxDecoder::sampleRate)}};
    all.insert(all.end(), settings.begin(), settings.end());
    std::vector<std::string> arguments = {"vorlin"};
    for (const auto& [name, value] : all) {
        arguments.push_back(name);
        arguments.push_back(value);
    }
    return arguments;
}

ps_decoder_t* load(std::vector<std::string> arguments)
{
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    cmd_ln_t* config = sphinx().parseSettings(
        nullptr, sphinx().args(), static_cast<int32>(pointers.size()), pointers.data(), TRUE);
    if (config == nullptr) {
        return nullptr;
    }
    ps_decoder_t* decoder = sphinx().init(config);
    sphinx().freeSettings(config); // the decoder keeps a reference of its own
    return decoder;
}

} // namespace

void SphinxDecoder::Free::operator()(ps_decoder_s* decoder) const
{
    sphinx().free(decoder);
}

DecoderSettings SphinxDecoder::measuredSettings()
{
    return {{"-remove_noise", "no"}, {"-fwdflat", "no"}, {"-maxhmmpf", "5000"}};
}

SphinxDecoder::SphinxDecoder(const SpeechModel& model, const DecoderSettings& settings)
    : locale(model.locale)
{
    silenceLibrary();
    if (!isSoundModelDefinition(model.acousticModel / "mdef") ||
        !isCompleteLanguageModel(model.languageModel)) {
        throw unreadable(locale);
    }
    try {
        decoder.reset(load(argumentsFor(model, settings)));
    } catch (const LibraryFailure&) {
        throw unreadable(locale);
    }
    if (!decoder) {
        throw unreadable(locale);
    }
}

SphinxDecoder::~SphinxDecoder() = default;

void SphinxDecoder::beginStream()
{
    check(sphinx().startStream(decoder.get()));
    check(sphinx().startUtt(decoder.get()));
}

void SphinxDecoder::abandonStream()
{
    check(sphinx().endUtt(decoder.get()));
}

void SphinxDecoder::decode(std::span<const std::int16_t> samples)
{
    check(sphinx().processRaw(decoder.get(), samples.data(), samples.size(), FALSE, FALSE));
}

bool SphinxDecoder::inSpeech() const
{
    return sphinx().getInSpeech(decoder.get()) != 0;
}

std::string SphinxDecoder::hypothesis() const
{
    const char* words = sphinx().getHyp(decoder.get(), nullptr);
    return words == nullptr ? std::string() : hypothesisText(words, locale);
}

bool SphinxDecoder::betweenWords() const
{
    constexpr int gapFrames = 15; // of 10 ms
    bool gap = false;
    for (ps_seg_t* each = sphinx().segIter(decoder.get()); each != nullptr;
         each = sphinx().segNext(each)) {
        int first = 0;
        int last = 0;
        sphinx().segFrames(each, &first, &last);
        gap = hypothesisText(sphinx().segWord(each), locale).empty() && last - first >= gapFrames;
    }
    return gap;
}

std::vector<float> SphinxDecoder::learnt() const
{
    const cmn_t* normaliser = sphinx().getFeat(decoder.get())->cmn_struct;
    return {normaliser->cmn_mean, normaliser->cmn_mean + normaliser->veclen};
}

void SphinxDecoder::adopt(const std::vector<float>& learntBefore)
{
    cmn_t* normaliser = sphinx().getFeat(decoder.get())->cmn_struct;
    if (learntBefore.size() == static_cast<std::size_t>(normaliser->veclen)) {
        sphinx().setCepstralMean(normaliser, learntBefore.data());
    }
}

std::string SphinxDecoder::endUtterance()
{
    if (inSpeech()) {
        // A last word is understood better with a little silence behind it.
        decode(std::array<std::int16_t, sampleRate / 10>{});
    }
    check(sphinx().endUtt(decoder.get()));
    std::string words = hypothesis();
    // The library itself learns only from an utterance that is cut off while someone speaks.
    sphinx().updateCepstralMean(sphinx().getFeat(decoder.get())->cmn_struct);
    check(sphinx().startUtt(decoder.get()));
    return words;
}

void SphinxDecoder::check(int status) const
{
    if (status < 0) {
        throw std::runtime_error(recognitionFailed);
    }
}

} // namespace vorlin
