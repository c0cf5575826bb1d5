#include "Parakeet/ParakeetDecoding.h"

#include "Async/Fatal.h"
#include "Parakeet/RuntimeError.h"
#include "Transcriber.h"

#include <algorithm>
#include <cmath>
#include <coroutine>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace vorlin {

namespace {

constexpr std::size_t inputLength = 240000;
constexpr std::int64_t blank = 8192;
constexpr int maxSymbolsPerFrame = 8;
/// Utterances of fifteen seconds have fewer.
constexpr std::size_t usualTokens = 512;
/// A model that names negative durations for ever would keep the loop on one frame.
constexpr int mostStepsOnOneFrame = 1000;
/// Values in a frame. No frames of any width are no bytes, so a width may be named that no memory
/// holds; the published models have 1024.
constexpr std::int64_t widestFrame = 65536;
constexpr std::string_view wordStart = "\xE2\x96\x81"; // U+2581

/// Element 0 as an integer, towards zero; nothing for an empty array or what no integer holds.
std::optional<std::int64_t> firstInteger(const MultiArray& array)
{
    if (array.elementCount() == 0) {
        return std::nullopt;
    }
    const double value = array.number(0);
    if (!(std::abs(value) < 9e15)) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(value);
}

MultiArray take(MLFeatures& outputs, const std::string& name)
{
    const auto found = outputs.find(name);
    if (found == outputs.end()) {
        throw RuntimeError::badOutput();
    }
    return std::move(found->second);
}

/// An output of the decoder or the joint, which their check at load has promised.
MultiArray& promised(MLFeatures& outputs, const std::string& name)
{
    const auto found = outputs.find(name);
    if (found == outputs.end()) {
        fatal("a speech model left out the output " + name);
    }
    return found->second;
}

std::int64_t promisedInteger(MLFeatures& outputs, const std::string& name)
{
    const auto value = firstInteger(promised(outputs, name));
    if (!value) {
        throw RuntimeError::badOutput();
    }
    return *value;
}

/// Column `t` of an encoder output [1, D, T], whatever its strides and type, into `step`.
void copyFrame(const MultiArray& encoder, std::int64_t t, MultiArray& step)
{
    const std::int64_t width = encoder.shape()[1];
    const std::int64_t across = encoder.strides()[1];
    const std::int64_t first = t * encoder.strides()[2];
    auto* to = step.as<float>();
    if (encoder.elementType() == MLElementType::float32) {
        const auto* from = encoder.as<float>() + first;
        for (std::int64_t d = 0; d < width; ++d) {
            to[d] = from[d * across];
        }
        return;
    }
    for (std::int64_t d = 0; d < width; ++d) {
        to[d] = static_cast<float>(encoder.number(first + d * across));
    }
}

/// A prediction to be awaited, once, whose outputs take the place of the last ones. Takes no memory
/// where the platform computes on the calling thread.
class Prediction {
public:
    Prediction(MLModel& model, const MLFeatures& inputs, MLFeatures& outputs,
               const PredictOptions& options)
        : model(model), inputs(inputs), outputs(outputs), options(options)
    {
    }

    bool await_ready()
    {
        if (model.predictInto(outputs, inputs, options.priority, options.stop)) {
            return true;
        }
        return elsewhere.emplace(model.predict(inputs, options.priority, options.stop))
            .await_ready();
    }

    template <class Promise>
    bool await_suspend(std::coroutine_handle<Promise> caller) const
    {
        return elsewhere->await_suspend(caller);
    }

    void await_resume() const
    {
        if (elsewhere) {
            outputs = elsewhere->await_resume();
        }
    }

private:
    MLModel& model;
    const MLFeatures& inputs;
    MLFeatures& outputs;
    const PredictOptions& options;
    std::optional<Completion<MLFeatures>> elsewhere;
};

/// The prediction network with its state, and every array of the loop.
class Decoder {
public:
    Decoder(ParakeetLoaded& models, PredictOptions options, std::int64_t width)
        : models(models), options(std::move(options))
    {
        inputs["targets"] = MultiArray(MLElementType::int32, {1, 1});
        inputs["target_length"] = MultiArray(MLElementType::int32, {1});
        inputs["target_length"].as<std::int32_t>()[0] = 1;
        inputs["h_in"] = MultiArray(MLElementType::float32, {2, 1, 640});
        inputs["c_in"] = MultiArray(MLElementType::float32, {2, 1, 640});
        jointInputs["encoder_step"] = MultiArray(MLElementType::float32, {1, width, 1});
        targets = inputs["targets"].as<std::int32_t>();
    }

    /// Goes on by one token, once it is awaited; then call `pushed`.
    Prediction push(std::int64_t token)
    {
        *targets = static_cast<std::int32_t>(token);
        return {*models.decoder, inputs, outputs, options};
    }

    /// The state goes in next time, and the arrays that it was in take the one after it.
    void pushed()
    {
        std::swap(inputs["h_in"], promised(outputs, "h_out"));
        std::swap(inputs["c_in"], promised(outputs, "c_out"));
        jointInputs["decoder_step"] = promised(outputs, "decoder");
    }

    Prediction joint() { return {*models.joint, jointInputs, decision, options}; }

    MultiArray& step() { return jointInputs["encoder_step"]; }

    /// What the joint said last: the token, and how many frames to go on.
    std::int64_t token() { return promisedInteger(decision, "token_id"); }
    std::int64_t duration() { return promisedInteger(decision, "duration"); }

private:
    ParakeetLoaded& models;
    const PredictOptions options;
    MLFeatures inputs;
    MLFeatures outputs;
    MLFeatures jointInputs;
    MLFeatures decision;
    std::int32_t* targets = nullptr;
};

/// What the encoder says of what the preprocessor says of the audio, both at that length, or both
/// at their full one.
Task<MLFeatures> encodedAt(std::optional<ShorterLength> length, ParakeetLoaded& models,
                           const MLFeatures& audio, const PredictOptions& options)
{
    const auto predict = [&](MLModel& model, std::int64_t frames, const MLFeatures& inputs) {
        return length ? model.predictAt(frames, inputs, options.priority, options.stop)
                      : model.predict(inputs, options.priority, options.stop);
    };
    auto mel = co_await predict(*models.preprocessor, length ? length->samples : 0, audio);
    MLFeatures features;
    features["mel"] = take(mel, "mel");
    features["mel_length"] = take(mel, "mel_length");
    co_return co_await predict(*models.encoder, length ? length->frames : 0, features);
}

/// The same at the shortest length for so many samples.
Task<MLFeatures> encoded(std::int64_t samples, ParakeetLoaded& models, const MLFeatures& audio,
                         const PredictOptions& options)
{
    const auto length = shortestFor(models.lengths, samples);
    if (length) {
        try {
            co_return co_await encodedAt(length, models, audio, options);
        } catch (const MLStopped&) {
            throw;
        } catch (const MLModelLost&) {
            throw;
        } catch (const std::runtime_error&) {
            // Whatever is wrong with this length, the words are not to be lost over it.
            std::erase(models.lengths, *length);
        }
    }
    co_return co_await encodedAt(std::nullopt, models, audio, options);
}

} // namespace

Task<std::vector<std::int64_t>> greedyTDT(const MultiArray& encoder, std::int64_t frames,
                                          ParakeetLoaded& models, PredictOptions options)
{
    if (encoder.rank() < 3) {
        fatal("the encoder's output has fewer than three dimensions");
    }
    if (encoder.shape()[1] > widestFrame) {
        throw RuntimeError::badOutput();
    }
    const std::int64_t end = std::min(encoder.shape()[2], frames);
    std::vector<std::int64_t> tokens;
    tokens.reserve(usualTokens);
    Decoder decoder(models, options, encoder.shape()[1]);
    auto beginning = decoder.push(blank);
    co_await beginning;
    decoder.pushed();
    for (std::int64_t t = 0; t < end;) {
        copyFrame(encoder, t, decoder.step());
        std::int64_t advance = 0;
        int emitted = 0;
        for (int steps = 0; advance < 1; ++steps) {
            if (options.stop.stopRequested()) {
                throw MLStopped();
            }
            if (steps == mostStepsOnOneFrame) {
                throw RuntimeError::badOutput();
            }
            auto deciding = decoder.joint();
            co_await deciding;
            const std::int64_t token = decoder.token();
            advance = decoder.duration();
            if (token != blank) {
                tokens.push_back(token);
                auto pushing = decoder.push(token);
                co_await pushing;
                decoder.pushed();
                ++emitted;
            }
            if (advance == 0 && (token == blank || emitted >= maxSymbolsPerFrame)) {
                advance = 1;
            }
        }
        t += std::min(advance, end);
    }
    co_return tokens;
}

std::string detokenised(const std::vector<std::int64_t>& tokens,
                        const std::vector<std::string>& vocabulary)
{
    std::string pieces;
    for (const auto token : tokens) {
        if (token < 0 || token >= std::ssize(vocabulary)) {
            continue;
        }
        const auto& piece = vocabulary[static_cast<std::size_t>(token)];
        if (piece.starts_with('<') && piece.ends_with('>')) {
            continue;
        }
        pieces += piece;
    }
    std::string text;
    for (std::size_t at = 0; at < pieces.size();) {
        if (pieces.compare(at, wordStart.size(), wordStart) == 0) {
            text += ' ';
            at += wordStart.size();
        } else {
            text += pieces[at++];
        }
    }
    return trimmedSpaces(text);
}

Task<std::string> decode(const std::vector<float>& utterance, ParakeetLoaded& models,
                         PredictOptions options)
{
    if (utterance.empty()) {
        co_return std::string();
    }
    const std::size_t count = std::min(utterance.size(), inputLength);
    MLFeatures audio;
    audio["audio_signal"] = MultiArray(MLElementType::float32, {1, inputLength});
    std::memcpy(audio["audio_signal"].data(), utterance.data(), count * sizeof(float));
    audio["audio_length"] = MultiArray(MLElementType::int32, {1});
    audio["audio_length"].as<std::int32_t>()[0] = static_cast<std::int32_t>(count);

    auto outputs = co_await encoded(static_cast<std::int64_t>(count), models, audio, options);
    const MultiArray encoder = take(outputs, "encoder");
    const auto frames = firstInteger(take(outputs, "encoder_length"));
    // A platform may not tell at the load what shape this output will have.
    if (!frames || encoder.rank() < 3) {
        throw RuntimeError::badOutput();
    }
    co_return detokenised(co_await greedyTDT(encoder, *frames, models, options), models.vocabulary);
}

} // namespace vorlin
