#include "Parakeet/ParakeetLoaded.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstddef>
#include <utility>

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

bool ParakeetRuntime::Loaded::isLost() const
{
    return preprocessor->isLost() || encoder->isLost() || decoder->isLost() || joint->isLost();
}

Task<std::shared_ptr<ParakeetRuntime::Loaded>> loadParakeet(MLModels& models, Folders& folders,
                                                            std::filesystem::path directory)
{
    // All four are under way before the first is waited for. The encoder alone is worth the
    // graphics processor; handing it the small ones would cost more than it saves.
    auto preprocessor = models.load(directory / "Preprocessor.mlmodelc", ComputeUnits::cpuOnly);
    auto encoder = models.load(directory / "Encoder.mlmodelc", ComputeUnits::cpuAndGPU);
    auto decoder = models.load(directory / "Decoder.mlmodelc", ComputeUnits::cpuOnly);
    auto joint = models.load(directory / "JointDecisionv3.mlmodelc", ComputeUnits::cpuOnly);

    auto loaded = std::make_shared<ParakeetRuntime::Loaded>();
    loaded->vocabulary =
        parakeetVocabulary(folders.read(directory / vocabularyName, largestVocabulary));
    loaded->preprocessor = co_await preprocessor;
    loaded->encoder = co_await encoder;
    loaded->decoder = co_await decoder;
    loaded->joint = co_await joint;
    loaded->directory = std::move(directory);
    checkFeatures(*loaded);
    co_return loaded;
}

} // namespace vorlin
