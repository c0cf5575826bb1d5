// A small trained speech model end to end: the four programs in a row give the tokens that were
// computed elsewhere.
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>

namespace vorlin::mil::test {

namespace {

constexpr std::int32_t blank = 8192;
constexpr std::size_t bufferSamples = 240000;
constexpr int mostTokensPerFrame = 8;

/// The samples of a mono 16-bit WAV file whose data chunk comes last.
std::vector<float> readSamples(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    const std::size_t data = bytes.find("data", 12) + 8;
    std::vector<std::int16_t> raw((bytes.size() - data) / 2);
    std::memcpy(raw.data(), bytes.data() + data, raw.size() * 2);
    std::vector<float> samples;
    for (std::int16_t value : raw) {
        samples.push_back(static_cast<float>(value) / 32768.0f);
    }
    return samples;
}

using Tensors = std::map<std::string, NamedOutput>;

class Program {
public:
    explicit Program(const std::string& name)
        : model(
              Model::load(fixtures() / "tiny-speech/model" / (name + ".mlmodelc"), {.threads = 2}))
    {
    }

    /// Lengths of 2 to 11 s, each with a little more, so that the frames at the end see the zeros
    /// behind them.
    void shorten(const LengthInput& frames, std::int64_t perSecond, std::int64_t more)
    {
        margin = more;
        std::vector<std::int64_t> lengths;
        for (const std::int64_t seconds : {2, 3, 4, 6, 8, 11}) {
            lengths.push_back(seconds * perSecond + more);
        }
        EXPECT_EQ(model.shorten(frames, lengths), "");
        EXPECT_EQ(model.shorterLengths(), lengths);
    }

    /// Computes at the smallest length that holds `count` frames, if the program was shortened.
    Tensors predict(const std::vector<NamedInput>& inputs, std::int64_t count = 0)
    {
        const auto lengths = model.shorterLengths();
        const auto length = std::find_if(lengths.begin(), lengths.end(), [&](std::int64_t one) {
            return count != 0 && count + margin <= one;
        });
        Tensors result;
        for (NamedOutput& output :
             length == lengths.end() ? model.predict(inputs) : model.predictAt(*length, inputs)) {
            const std::string name = output.name;
            result.emplace(name, std::move(output));
        }
        return result;
    }

private:
    Model model;
    std::int64_t margin = 0;
};

TensorView viewOf(const NamedOutput& output)
{
    return {output.type, output.bytes.data()};
}

template <class T>
TensorView viewOf(ElementType type, const Shape& shape, const std::vector<T>& values)
{
    return {{type, shape}, reinterpret_cast<const std::byte*>(values.data())};
}

class Recogniser {
public:
    void shorten()
    {
        preprocessor.shorten({"audio_signal", 1, "audio_length"}, 16000, 640);
        encoder.shorten({"mel", 2, "mel_length"}, 100, 17);
    }

    std::vector<std::int32_t> tokensOf(const std::vector<float>& samples)
    {
        std::vector<float> buffer = samples;
        buffer.resize(bufferSamples);
        const std::vector<std::int32_t> length{
            static_cast<std::int32_t>(std::min(samples.size(), bufferSamples))};
        const Tensors mel = preprocessor.predict(
            {{"audio_signal", viewOf(ElementType::fp32, {1, bufferSamples}, buffer)},
             {"audio_length", viewOf(ElementType::int32, {1}, length)}},
            length.front());
        const Tensors encoded = encoder.predict(
            {{"mel", viewOf(mel.at("mel"))}, {"mel_length", viewOf(mel.at("mel_length"))}},
            viewOf(mel.at("mel_length")).integer(0));
        step(blank);
        return decode(viewOf(encoded.at("encoder")),
                      viewOf(encoded.at("encoder_length")).integer(0));
    }

private:
    void step(std::int32_t token)
    {
        const std::vector<std::int32_t> target{token};
        const std::vector<std::int32_t> one{1};
        const std::vector<float> zeros(2 * 640);
        const bool first = token == blank;
        const TensorView start = viewOf(ElementType::fp32, {2, 1, 640}, zeros);
        state = decoder.predict({{"targets", viewOf(ElementType::int32, {1, 1}, target)},
                                 {"target_length", viewOf(ElementType::int32, {1}, one)},
                                 {"h_in", first ? start : viewOf(state.at("h_out"))},
                                 {"c_in", first ? start : viewOf(state.at("c_out"))}});
    }

    std::vector<std::int32_t> decode(const TensorView& encoded, std::int64_t frames)
    {
        std::vector<std::int32_t> tokens;
        const std::int64_t width = encoded.extent(1);
        std::vector<float> frame(static_cast<std::size_t>(width));
        int emitted = 0;
        for (std::int64_t t = 0; t < std::min(frames, encoded.extent(2));) {
            for (std::int64_t i = 0; i < width; ++i) {
                frame[static_cast<std::size_t>(i)] =
                    static_cast<float>(encoded.number(i * encoded.extent(2) + t));
            }
            const Tensors choice =
                joint.predict({{"encoder_step", viewOf(ElementType::fp32, {1, width, 1}, frame)},
                               {"decoder_step", viewOf(state.at("decoder"))}});
            const auto token = static_cast<std::int32_t>(viewOf(choice.at("token_id")).integer(0));
            std::int64_t skip = viewOf(choice.at("duration")).integer(0);
            if (token != blank) {
                tokens.push_back(token);
                step(token);
                ++emitted;
            }
            if (skip == 0 && (token == blank || emitted >= mostTokensPerFrame)) {
                skip = 1;
            }
            emitted = skip > 0 ? 0 : emitted;
            t += std::max<std::int64_t>(skip, 0);
        }
        return tokens;
    }

    Program preprocessor{"Preprocessor"};
    Program encoder{"Encoder"};
    Program decoder{"Decoder"};
    Program joint{"JointDecisionv3"};
    Tensors state;
};

} // namespace

void expectTokens(Recogniser& recogniser)
{
    const std::filesystem::path folder = fixtures() / "tiny-speech";
    const auto utterances = nlohmann::json::parse(std::ifstream(folder / "utterances.json"));
    ASSERT_EQ(utterances.size(), 22U);
    for (const nlohmann::json& utterance : utterances) {
        const auto file = utterance.at("file").get<std::string>();
        EXPECT_EQ(recogniser.tokensOf(readSamples(folder / file)),
                  utterance.at("tokens").get<std::vector<std::int32_t>>())
            << file;
    }
}

TEST(SpeechTest, everyUtteranceGivesItsTokens)
{
    Recogniser recogniser;
    expectTokens(recogniser);
}

TEST(SpeechTest, everyUtteranceGivesItsTokensAtItsShortestLength)
{
    Recogniser recogniser;
    recogniser.shorten();
    expectTokens(recogniser);
}

} // namespace vorlin::mil::test
