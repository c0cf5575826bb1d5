// The full-size encoder in each stored form: slow and large, so part of the nightly tests.
#include "FullSize.h"
#include "Bundles.h"
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

namespace vorlin::mil::test {

namespace {

/// A bundle with its weights filled in, which go when the object goes.
class FilledEncoder {
public:
    explicit FilledEncoder(const std::string& form)
        : path(fixtures() / "full-size" / ("encoder-" + form))
    {
        fillWeights(path);
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
