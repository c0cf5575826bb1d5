// The full-size encoder in each stored form: slow and large, so part of the nightly tests.
#include "FullSize.h"
#include "Bundles.h"
#include "Fixtures.h"
#include "Likeness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <thread>

namespace vorlin::mil::test {

namespace {

/// A bundle with its weights filled in, which go when the object goes.
class FilledEncoder {
public:
    explicit FilledEncoder(const std::string& form,
                           const std::map<std::uint64_t, double>& alike = {})
        : path(folderOf(form))
    {
        fillWeights(path, alike);
        mel = readNpy(path / "input_mel.npy");
        length = readNpy(path / "input_mel_length.npy");
    }
    FilledEncoder(const FilledEncoder&) = delete;
    FilledEncoder& operator=(const FilledEncoder&) = delete;
    ~FilledEncoder() { std::filesystem::remove_all(path / "weights"); }

    std::vector<NamedInput> inputs() const
    {
        return {{"mel", mel.view()}, {"mel_length", length.view()}};
    }

    static std::filesystem::path folderOf(const std::string& form)
    {
        return fixtures() / "full-size" / ("encoder-" + form);
    }

    const std::filesystem::path path;

private:
    NpyTensor mel;
    NpyTensor length;
};

/// The first `frames` of the last axis of a [1, D, T] tensor.
NpyTensor firstFrames(const TensorView& tensor, std::int64_t frames)
{
    NpyTensor result{{ElementType::fp32, {tensor.extent(1), frames}}, {}};
    result.bytes.resize(byteCount(result.type));
    const TensorBuffer out{result.type, result.bytes.data()};
    for (std::int64_t i = 0; i < out.elements(); ++i) {
        out.set(i, tensor.number(i / frames * tensor.extent(2) + i % frames));
    }
    return result;
}

class FullSizeTest : public testing::TestWithParam<const char*> {};

/// What the encoder says, of the frames that count.
Frames saidBy(const FilledEncoder& encoder, LargeProducts products)
{
    Model model = Model::load(encoder.path, {.threads = 2, .largeProducts = products});
    const auto outputs = model.predict(encoder.inputs());
    const TensorView length{outputs.back().type, outputs.back().bytes.data()};
    const TensorView frames{outputs.front().type, outputs.front().bytes.data()};
    return framesOf(frames, length.integer(0));
}

/// How alike two are by what makes frames differ from their mean: random weights have nearly
/// everything in common for all frames.
double alike(const char* what, const Frames& one, const Frames& other)
{
    const double centred = centredCosine(one, other);
    std::printf("%s: cosine %.6f, of what differs from the mean frame %.6f\n", what,
                cosine(one, other), centred);
    return centred;
}

/// Numbers for the records of quantised weights that make them what those of the other forms are:
/// no offset, and a deviation that keeps the size of what a layer is given.
std::map<std::uint64_t, double> tamedWeights(const std::filesystem::path& bundle)
{
    const std::regex weights(
        R"(quantized_data = tensor<int8, \[\d+, (\d+)(?:, (\d+))?(?:, (\d+))?\]>.*?)"
        R"(scale = [^;]*?offset = tensor<uint64, \[\]>\((\d+)\).*?)"
        R"(zero_point = [^;]*?offset = tensor<uint64, \[\]>\((\d+)\))");
    std::map<std::uint64_t, double> result;
    std::ifstream file(bundle / "model.mil");
    for (std::string line; std::getline(file, line);) {
        std::smatch found;
        if (std::regex_search(line, found, weights)) {
            double terms = 1;
            for (const std::size_t axis : {1U, 2U, 3U}) {
                terms *= found[axis].matched ? std::stod(found[axis]) : 1;
            }
            result[std::stoull(found[4])] = 1 / (128 * std::sqrt(std::min(terms, 4096.0)));
            result[std::stoull(found[5])] = 0;
        }
    }
    return result;
}

} // namespace

TEST_P(FullSizeTest, theEncoderAgrees)
{
    const FilledEncoder encoder(GetParam());
    const auto wanted = nlohmann::json::parse(std::ifstream(encoder.path / "tolerance.json"));
    Model model = Model::load(encoder.path, {.threads = 2});
    const auto outputs = model.predict(encoder.inputs());
    const auto frames = wanted.at("valid_frames").get<std::int64_t>();
    const NpyTensor reference = readNpy(encoder.path / "output_encoder.npy");
    for (const NamedOutput& output : outputs) {
        const TensorView view{output.type, output.bytes.data()};
        if (output.name == "encoder_length") {
            EXPECT_EQ(view.integer(0), wanted.at("encoder_length"));
            continue;
        }
        const NpyTensor got = firstFrames(view, frames);
        EXPECT_EQ(difference(got.type, got.bytes, firstFrames(reference.view(), frames),
                             {.absolute = wanted.at("abs"), .rms = wanted.at("rms")}),
                  "");
    }
}

INSTANTIATE_TEST_SUITE_P(, FullSizeTest, testing::Values("fp16", "lut6", "int8"),
                         [](const auto& form) { return std::string(form.param); });

TEST(FullSizeFramesTest, whatTellsFramesApartAgrees)
{
    struct Form {
        const char* name;
        double fullPrecision;
        double integers;
    };
    for (const Form& form : {Form{"fp16", 0.997, 0.94}, Form{"lut6", 0.996, 0.92}}) {
        const FilledEncoder encoder(form.name);
        const NpyTensor reference = readNpy(encoder.path / "output_encoder.npy");
        const Frames exact = saidBy(encoder, LargeProducts::singlePrecision);
        const auto frames = static_cast<std::int64_t>(exact.numbers.size()) / exact.width;
        EXPECT_GE(alike(form.name, exact, framesOf(reference.view(), frames)), form.fullPrecision);
        if (!describeIntegers().empty()) {
            const Frames rounded = saidBy(encoder, LargeProducts::integers);
            EXPECT_GE(alike(form.name, rounded, exact), form.integers);
        }
    }
}

TEST(FullSizeFramesTest, weightsInEightBitsAreMultipliedAsIntegers)
{
    if (describeIntegers().empty()) {
        GTEST_SKIP() << "this processor has no products of 8-bit integers";
    }
    // As the fixture has them, all frames are alike up to what half precision rounds away.
    const FilledEncoder encoder("int8", tamedWeights(FilledEncoder::folderOf("int8")));
    const Frames exact = saidBy(encoder, LargeProducts::singlePrecision);
    EXPECT_GE(alike("int8", saidBy(encoder, LargeProducts::integers), exact), 0.95);
}

TEST(FullSizeStopTest, aPredictionStopsWithinAMoment)
{
    const FilledEncoder encoder("lut6");
    Model model = Model::load(encoder.path, {.threads = 2});
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    model.predict(encoder.inputs());
    const auto whole = Clock::now() - start;
    for (int part = 1; part < 12; ++part) {
        std::atomic<bool> stop = false;
        Clock::time_point requested;
        std::thread stopper([&] {
            std::this_thread::sleep_for(whole * part / 16);
            requested = Clock::now();
            stop = true;
        });
        EXPECT_THROW(model.predict(encoder.inputs(), &stop), Stopped);
        const auto returned = Clock::now();
        stopper.join();
        const std::chrono::duration<double, std::milli> wait = returned - requested;
        // Reported, not asserted: a loaded machine may take the processor away for longer.
        RecordProperty("stopMs" + std::to_string(part), std::to_string(wait.count()));
        std::printf("stopped after %.2f ms\n", wait.count());
    }
}

} // namespace vorlin::mil::test
