#pragma once

#include "fakes/FakeMLModels.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace vorlin {

inline MLFeature feature(std::string name, MLElementType type, const MultiArray::Extents& shape)
{
    std::vector<ExtentRange> axes;
    for (const auto extent : shape) {
        axes.push_back(extent < 0 ? ExtentRange{0, 1 << 20} : ExtentRange{extent, extent});
    }
    return {std::move(name), type, {axes}, false};
}

inline MultiArray arrayOf(const MultiArray::Extents& shape, const std::vector<float>& values)
{
    MultiArray array(MLElementType::float32, shape);
    std::copy(values.begin(), values.end(), array.as<float>());
    return array;
}

inline MultiArray integer(std::int32_t value)
{
    MultiArray array(MLElementType::int32, {1});
    array.as<std::int32_t>()[0] = value;
    return array;
}

/// A speech model that hears loudness: audio of amplitude n ÷ 100 that lasts 100 ms or more is
/// the word with token n, for n from 10 to 99. An encoder frame carries one word.
struct FakeParakeet {
    static constexpr std::size_t least = 1600;

    static float amplitude(int word) { return static_cast<float>(word) / 100; }
    /// "w12".
    static std::string word(int token) { return "w" + std::to_string(token); }

    /// The words in mono audio at 16 kHz.
    static std::vector<int> heard(const float* samples, std::size_t count)
    {
        std::vector<int> words;
        std::size_t run = 0;
        int last = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const int now = static_cast<int>(std::lround(std::abs(samples[i]) * 100));
            run = now == last ? run + 1 : 1;
            last = now;
            if (run == least && now >= 10) {
                words.push_back(now);
            }
        }
        return words;
    }

    static std::string vocabularyJson()
    {
        std::string json = "{";
        for (int id = 0; id < 100; ++id) {
            json += (id > 0 ? "," : "") + ('"' + std::to_string(id)) + "\":\"\xE2\x96\x81" +
                    word(id) + '"';
        }
        return json + "}";
    }

    static void install(FakeMLModels& models)
    {
        using enum MLElementType;
        models.scripts["Preprocessor.mlmodelc"] = {
            {{feature("audio_signal", float32, {1, 240000}), feature("audio_length", int32, {1})},
             {feature("mel", float32, {1, 1, -1}), feature("mel_length", int32, {1})}},
            [](const MLFeatures& in) {
                const auto length = in.at("audio_length").as<std::int32_t>()[0];
                const auto words =
                    heard(in.at("audio_signal").as<float>(), static_cast<std::size_t>(length));
                MLFeatures out;
                out["mel"] = arrayOf({1, 1, std::ssize(words)}, {words.begin(), words.end()});
                out["mel_length"] = integer(static_cast<std::int32_t>(words.size()));
                return out;
            }};
        models.scripts["Encoder.mlmodelc"] = {
            {{feature("mel", float32, {1, 1, -1}), feature("mel_length", int32, {1})},
             {feature("encoder", float32, {1, 1, -1}), feature("encoder_length", int32, {1})}},
            [](const MLFeatures& in) {
                return MLFeatures{{"encoder", in.at("mel")},
                                  {"encoder_length", in.at("mel_length")}};
            }};
        models.scripts["Decoder.mlmodelc"] = {
            {{feature("targets", int32, {1, 1}), feature("target_length", int32, {1}),
              feature("h_in", float32, {2, 1, 640}), feature("c_in", float32, {2, 1, 640})},
             {feature("h_out", float32, {2, 1, 640}), feature("c_out", float32, {2, 1, 640}),
              feature("decoder", float32, {1, 1, 1})}},
            [](const MLFeatures& in) {
                MLFeatures out;
                out["h_out"] = in.at("h_in");
                out["c_out"] = in.at("c_in");
                out["decoder"] = arrayOf({1, 1, 1}, {0});
                return out;
            }};
        models.scripts["JointDecisionv3.mlmodelc"] = {
            {{feature("encoder_step", float32, {1, 1, 1}),
              feature("decoder_step", float32, {1, 1, 1})},
             {feature("token_id", int32, {1}), feature("duration", int32, {1})}},
            [](const MLFeatures& in) {
                MLFeatures out;
                const float word = in.at("encoder_step").as<float>()[0];
                out["token_id"] = integer(static_cast<std::int32_t>(word));
                out["duration"] = integer(1);
                return out;
            }};
    }
};

} // namespace vorlin
