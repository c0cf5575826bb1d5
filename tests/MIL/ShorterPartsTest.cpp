// The speech fixtures' programs at shorter lengths against their full length.
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace vorlin::mil::test {

namespace {

struct Part {
    const char* bundle;
    LengthInput frames;
    std::int64_t perSecond;
    std::int64_t margin; // what the last frames that count see of the zeros behind them
    const char* result;
    std::size_t axis; // of the result's frames
    const char* resultLength;
    double tolerance; // of the root of the mean squares
};

std::vector<std::byte> bytesOf(const TensorType& type)
{
    return std::vector<std::byte>(byteCount(type));
}

const NamedOutput& named(const std::vector<NamedOutput>& outputs, const char* name)
{
    return *std::find_if(outputs.begin(), outputs.end(),
                         [&](const NamedOutput& output) { return output.name == name; });
}

class ShorterPartsTest : public testing::TestWithParam<Part> {
protected:
    /// Noise in the frames that count, as loud as speech or as what is made of it.
    std::vector<std::byte> noise(const TensorType& type, std::int64_t count) const
    {
        std::vector<std::byte> bytes = bytesOf(type);
        const TensorBuffer buffer{type, bytes.data()};
        std::mt19937 random(7);
        const std::size_t axis = GetParam().frames.axis;
        for (std::int64_t i = 0; i < buffer.elements(); ++i) {
            const double number = static_cast<double>(random()) / 0x1p31 - 1;
            const std::int64_t frame = axis + 1 == type.shape.size() ? i % type.shape[axis] : 0;
            buffer.set(i, frame < count ? number * (type.shape.size() == 2 ? 0.2 : 1.5) : 0);
        }
        return bytes;
    }
};

/// The error of the frames that count, relative to what they are.
double errorOf(const NamedOutput& whole, const NamedOutput& shorter, std::size_t axis,
               std::int64_t count)
{
    const TensorView a{whole.type, whole.bytes.data()};
    const TensorView b{shorter.type, shorter.bytes.data()};
    const std::int64_t inner = product(a.shape(), axis + 1, a.rank());
    double off = 0;
    double all = 0;
    for (std::int64_t i = 0; i < a.elements(); ++i) {
        if (i / inner % a.extent(axis) < count) {
            off += (a.number(i) - b.number(i)) * (a.number(i) - b.number(i));
            all += a.number(i) * a.number(i);
        }
    }
    return std::sqrt(off / all);
}

} // namespace

TEST_P(ShorterPartsTest, everyLengthSaysWhatTheFullOneSays)
{
    const Part& part = GetParam();
    Model model = Model::load(fixtures() / part.bundle, {.threads = 2});
    std::vector<std::int64_t> lengths;
    for (const std::int64_t seconds : {2, 3, 4, 6, 8, 11}) {
        lengths.push_back(seconds * part.perSecond + part.margin);
    }
    ASSERT_EQ(model.shorten(part.frames, lengths), "");
    ASSERT_EQ(model.shorterLengths(), lengths);
    const auto& inputs = model.inputs();
    const auto& data = inputs[inputs[0].name == part.frames.data ? 0 : 1];
    double worst = 0;
    for (const std::int64_t length : {lengths[0], lengths[1], lengths[5]}) {
        const std::int64_t most = length - part.margin;
        for (const std::int64_t count : {part.perSecond / 50, most / 2 + 1, most - 3, most}) {
            const std::vector<std::byte> frames = noise(data.type, count);
            const auto number = static_cast<std::int32_t>(count);
            const std::vector<NamedInput> given{
                {part.frames.data, {data.type, frames.data()}},
                {part.frames.length,
                 {{ElementType::int32, {1}}, reinterpret_cast<const std::byte*>(&number)}}};
            const auto whole = model.predict(given);
            const auto shorter = model.predictAt(length, given);
            const NamedOutput& a = named(whole, part.resultLength);
            ASSERT_EQ(a.bytes, named(shorter, part.resultLength).bytes) << count;
            const NamedOutput& result = named(whole, part.result);
            ASSERT_EQ(result.type, named(shorter, part.result).type);
            const auto valid = TensorView{a.type, a.bytes.data()}.integer(0);
            const double error = errorOf(result, named(shorter, part.result), part.axis, valid);
            EXPECT_LE(error, part.tolerance) << count << " frames at length " << length;
            worst = std::max(worst, error);
        }
    }
    RecordProperty("worst", std::to_string(worst));
    std::printf("%s: worst error %.2e\n", part.bundle, worst);
}

Part preprocessor(const char* bundle)
{
    return {bundle, {"audio_signal", 1, "audio_length"}, 16000, 640, "mel", 2, "mel_length", 1e-5};
}

Part encoder(const char* bundle, double tolerance)
{
    return {bundle, {"mel", 2, "mel_length"}, 100, 17, "encoder", 2, "encoder_length", tolerance};
}

INSTANTIATE_TEST_SUITE_P(
    , ShorterPartsTest,
    testing::Values(preprocessor("parts/preprocessor-masked/model.mlmodelc"),
                    preprocessor("parts/preprocessor-reflect/model.mlmodelc"),
                    preprocessor("tiny-speech/model/Preprocessor.mlmodelc"),
                    encoder("parts/encoder-fp16/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-unmasked-fp32/model.mlmodelc", 1e-5),
                    encoder("parts/encoder-biased-scaled-fp16/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-terse-fp16/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-int8/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-lut6/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-lut4-groups/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-lut2-vector/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-int4-blocks/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-sparse/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-sparse-lut/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-sparse-int8/model.mlmodelc", 3e-3),
                    encoder("parts/encoder-uint8/model.mlmodelc", 3e-3),
                    encoder("tiny-speech/model/Encoder.mlmodelc", 3e-3)),
    [](const auto& part) {
        std::string name(part.param.bundle);
        name = name.substr(0, name.rfind(".mlmodelc"));
        std::replace_if(
            name.begin(), name.end(), [](char c) { return c == '/' || c == '-'; }, '_');
        return name;
    });

} // namespace vorlin::mil::test
