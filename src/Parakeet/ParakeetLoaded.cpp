#include "Parakeet/ParakeetLoaded.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstddef>
#include <exception>
#include <utility>
#include <variant>

namespace vorlin {

namespace {

constexpr const char* vocabularyName = "parakeet_v3_vocab.json";
constexpr std::size_t largestVocabulary = 64 << 20;

/// The number that the whole of `text` writes in decimal; nothing for any other text.
std::optional<std::size_t> decimal(const std::string& text)
{
    std::size_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stopped == end ? std::optional(number) : std::nullopt;
}

using Vocabulary = std::vector<std::string>;

/// Reads the vocabulary where nothing else waits for a disk that does not answer.
Completion<Vocabulary> readVocabulary(const ParakeetSource& source)
{
    Completion<Vocabulary> read;
    const auto outcome = std::make_shared<std::variant<Vocabulary, std::exception_ptr>>();
    source.workers.runPatiently(
        source.priority,
        [folders = source.folders, file = source.directory / vocabularyName,
         onProgress = source.onProgress, outcome] {
            try {
                *outcome = parakeetVocabulary(folders->read(file, largestVocabulary, onProgress));
            } catch (...) {
                *outcome = std::current_exception();
            }
        },
        source.workers.executor(WorkPriority::normal),
        [completer = read.completer(), outcome] {
            if (const auto* failure = std::get_if<std::exception_ptr>(&*outcome)) {
                completer.fail(*failure);
            } else {
                completer.complete(std::move(std::get<Vocabulary>(*outcome)));
            }
        });
    return read;
}

} // namespace

std::vector<std::string> parakeetVocabulary(const Bytes& json)
{
    const auto object = nlohmann::json::parse(json.begin(), json.end(), nullptr, false);
    if (!object.is_object()) {
        throw std::runtime_error(std::string(vocabularyName) + " is not a vocabulary.");
    }
    std::vector<std::string> vocabulary(object.size());
    for (const auto& [key, value] : object.items()) {
        if (!value.is_string()) {
            throw std::runtime_error(std::string(vocabularyName) + " is not a vocabulary.");
        }
        const auto id = decimal(key);
        if (id && *id < vocabulary.size()) {
            vocabulary[*id] = value.get<std::string>();
        }
    }
    return vocabulary;
}

bool ParakeetLoaded::isLost() const
{
    return preprocessor->isLost() || encoder->isLost() || decoder->isLost() || joint->isLost();
}

Task<std::shared_ptr<ParakeetLoaded>> loadParakeet(ParakeetSource source)
{
    const auto begin = [&source](const char* name, ComputeUnits units) {
        return source.models.load(source.directory / name,
                                  LoadOptions{units, source.priority, source.onProgress});
    };
    // All four are under way before the first is waited for. The encoder alone is worth the
    // graphics processor; handing it the small ones would cost more than it saves.
    auto preprocessor = begin("Preprocessor.mlmodelc", ComputeUnits::cpuOnly);
    auto encoder = begin("Encoder.mlmodelc", ComputeUnits::cpuAndGPU);
    auto decoder = begin("Decoder.mlmodelc", ComputeUnits::cpuOnly);
    auto joint = begin("JointDecisionv3.mlmodelc", ComputeUnits::cpuOnly);
    auto vocabulary = readVocabulary(source);

    auto loaded = std::make_shared<ParakeetLoaded>();
    loaded->vocabulary = co_await vocabulary;
    loaded->preprocessor = co_await preprocessor;
    loaded->encoder = co_await encoder;
    loaded->decoder = co_await decoder;
    loaded->joint = co_await joint;
    loaded->directory = std::move(source.directory);
    checkFeatures(*loaded);
    co_return loaded;
}

} // namespace vorlin
