#include "Parakeet/ParakeetLoaded.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cstddef>
#include <exception>
#include <string_view>
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
        source.executor,
        [completer = read.completer(), outcome] {
            if (const auto* failure = std::get_if<std::exception_ptr>(&*outcome)) {
                completer.fail(*failure);
            } else {
                completer.complete(std::move(std::get<Vocabulary>(*outcome)));
            }
        });
    return read;
}

/// What the parts of a load share.
struct Parts {
    /// Let go of with what has arrived, once one of them failed.
    std::shared_ptr<ParakeetLoaded> loaded = std::make_shared<ParakeetLoaded>();
    int underWay = 5;
    /// Nothing but a hold.
    std::shared_ptr<const void> held;
};

/// Waits for a part, whether or not anybody still waits for the whole. The last one that arrives
/// completes `ended`, the first that fails fails it.
template <class T>
Task<void> settle(Completion<T> part, T ParakeetLoaded::*place, std::shared_ptr<Parts> parts,
                  Completer<Done> ended)
{
    try {
        T arrived = co_await part;
        if (parts->loaded) {
            (*parts->loaded).*place = std::move(arrived);
        }
        if (--parts->underWay == 0) {
            ended.complete({});
        }
    } catch (...) {
        parts->loaded.reset();
        ended.fail(std::current_exception());
    }
}

/// Begins all parts. The result ends with the last of them, or as the first that fails.
Completion<Done> beginParts(const ParakeetSource& source, const std::shared_ptr<Parts>& parts)
{
    Completion<Done> ended;
    const auto follow = [&, completer = ended.completer()](auto part, auto place) {
        spawn(source.executor, settle(std::move(part), place, parts, completer));
    };
    const auto load = [&](const char* name, ComputeUnits units, auto place,
                          std::optional<MLFrames> frames = {}) {
        follow(source.models.load(
                   source.directory / name,
                   LoadOptions{units, source.priority, source.onProgress, std::move(frames)}),
               place);
    };
    // The encoder alone is worth the graphics processor; handing it the small ones would cost
    // more than it saves.
    load("Preprocessor.mlmodelc", ComputeUnits::cpuOnly, &ParakeetLoaded::preprocessor,
         preprocessorFrames());
    load("Encoder.mlmodelc", ComputeUnits::cpuAndGPU, &ParakeetLoaded::encoder, encoderFrames());
    load("Decoder.mlmodelc", ComputeUnits::cpuOnly, &ParakeetLoaded::decoder);
    load("JointDecisionv3.mlmodelc", ComputeUnits::cpuOnly, &ParakeetLoaded::joint);
    follow(readVocabulary(source), &ParakeetLoaded::vocabulary);
    return ended;
}

} // namespace

std::vector<std::string> parakeetVocabulary(const Bytes& json)
{
    // As characters: not every C++ library takes bytes for them.
    const std::string_view text(reinterpret_cast<const char*>(json.data()), json.size());
    const auto object = nlohmann::json::parse(text, nullptr, false);
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
    const auto parts = std::make_shared<Parts>();
    parts->held = source.held;
    auto ended = beginParts(source, parts);
    co_await ended;
    auto loaded = std::move(parts->loaded);
    loaded->directory = std::move(source.directory);
    checkFeatures(*loaded);
    co_return loaded;
}

} // namespace vorlin
