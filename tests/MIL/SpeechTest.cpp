// A small trained speech model end to end: the four programs in a row give the tokens that were
// computed elsewhere.
#include "Fixtures.h"
#include "Likeness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
    explicit Program(const std::string& name,
                     LargeProducts products = LargeProducts::singlePrecision)
        : model(Model::load(fixtures() / "tiny-speech/model" / (name + ".mlmodelc"),
                            {.threads = 2, .largeProducts = products}))
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
    explicit Recogniser(LargeProducts products = LargeProducts::singlePrecision)
        : encoder("Encoder", products)
    {
    }

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
        encoded = encoder.predict(
            {{"mel", viewOf(mel.at("mel"))}, {"mel_length", viewOf(mel.at("mel_length"))}},
            viewOf(mel.at("mel_length")).integer(0));
        step(blank);
        return decode(viewOf(encoded.at("encoder")),
                      viewOf(encoded.at("encoder_length")).integer(0));
    }

    /// What the encoder said of the last utterance: the frames that count.
    Frames frames() const
    {
        return framesOf(viewOf(encoded.at("encoder")),
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
    Program encoder;
    Program decoder{"Decoder"};
    Program joint{"JointDecisionv3"};
    Tensors encoded;
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

/// What has to hold for products in 8 bits to be worth having.
TEST(SpeechTest, productsInEightBitsChangeNoTokenAndHardlyTheEncoder)
{
    if (describeIntegers().empty()) {
        GTEST_SKIP() << "this processor has no products of 8-bit integers";
    }
    const std::filesystem::path folder = fixtures() / "tiny-speech";
    Recogniser exact;
    Recogniser rounded(LargeProducts::integers);
    double worst = 1;
    double sum = 0;
    double worstCentred = 1;
    double sumCentred = 0;
    std::size_t tokens = 0;
    int count = 0;
    for (const nlohmann::json& utterance :
         nlohmann::json::parse(std::ifstream(folder / "utterances.json"))) {
        const auto file = utterance.at("file").get<std::string>();
        const std::vector<float> samples = readSamples(folder / file);
        const std::vector<std::int32_t> wanted = exact.tokensOf(samples);
        EXPECT_EQ(rounded.tokensOf(samples), wanted) << file;
        const double alike = cosine(exact.frames(), rounded.frames());
        EXPECT_GE(alike, 0.9998) << file;
        EXPECT_LT(alike, 1) << "nothing was rounded";
        worst = std::min(worst, alike);
        sum += alike;
        const double centred = centredCosine(exact.frames(), rounded.frames());
        EXPECT_GE(centred, 0.999) << file;
        worstCentred = std::min(worstCentred, centred);
        sumCentred += centred;
        tokens += wanted.size();
        ++count;
    }
    std::printf("%d utterances, %zu tokens: cosine %.6f in the mean, %.6f at worst\n", count,
                tokens, sum / count, worst);
    std::printf("of what differs from the mean frame: %.6f, %.6f\n", sumCentred / count,
                worstCentred);
}

} // namespace vorlin::mil::test
