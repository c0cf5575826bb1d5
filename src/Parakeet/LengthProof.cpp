#include "Parakeet/LengthProof.h"

#include "Parakeet/RuntimeError.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

namespace vorlin {

namespace {

constexpr std::int64_t declaredSamples = 240000;
constexpr std::int64_t oddSamples = 16001;
/// What halves round away: an encoder of them is off by some 0.0003 of what it says, and by 0.002
/// where speech it was not made for comes near the edge of what they hold.
constexpr LengthTolerance preprocessorTolerance{.all = 1e-3, .each = 1e-2};
constexpr LengthTolerance encoderTolerance{.all = 1e-2, .each = 5e-2};

/// A case: how many samples sound, and which lengths, by number, are for as many.
struct Case {
    std::int64_t samples = 0;
    std::vector<std::size_t> numbers{};
};

constexpr ShorterLength fullLength{};
constexpr std::size_t caseCount = 2 + shorterLengthCount;

Case caseOf(std::size_t number)
{
    if (number < 2) {
        Case every{number == 0 ? leastSpeech : oddSamples, {}};
        for (std::size_t i = 0; i < shorterLengthCount; ++i) {
            every.numbers.push_back(i);
        }
        return every;
    }
    // As many as one length is for, which is about the half of the next.
    const std::size_t length = number - 2;
    Case full{longestSpeech(length), {length}};
    if (length + 1 < shorterLengthCount) {
        full.numbers.push_back(length + 1);
    }
    return full;
}

/// Something like a voice: harmonics that come and go, and noise.
MLFeatures soundOf(std::int64_t samples)
{
    MLFeatures audio;
    audio["audio_signal"] = MultiArray(MLElementType::float32, {1, declaredSamples});
    auto* const signal = audio["audio_signal"].as<float>();
    std::uint32_t noise = 1;
    for (std::int64_t i = 0; i < samples; ++i) {
        const double time = static_cast<double>(i) / 16000;
        const double loud = 0.5 + 0.5 * std::sin(2 * std::numbers::pi * 3.1 * time);
        const double pitch = 2 * std::numbers::pi * (130 + 20 * std::sin(2 * time)) * time;
        noise = noise * 1664525 + 1013904223;
        const double hiss = static_cast<double>(noise >> 8) / (1 << 23) - 1;
        const double voice =
            std::sin(pitch) + 0.6 * std::sin(5 * pitch) + 0.3 * std::sin(17 * pitch);
        signal[i] = static_cast<float>(0.1 * loud * voice + 0.02 * hiss);
    }
    audio["audio_length"] = MultiArray(MLElementType::int32, {1});
    *audio["audio_length"].as<std::int32_t>() = static_cast<std::int32_t>(samples);
    return audio;
}

std::optional<double> lengthOf(const MLFeatures& outputs, const char* name)
{
    const auto found = outputs.find(name);
    return found == outputs.end() || found->second.elementCount() == 0
               ? std::nullopt
               : std::optional(found->second.number(0));
}

} // namespace

bool agree(const MLFeatures& full, const MLFeatures& shorter, const char* data, const char* length,
           const LengthTolerance& tolerance)
{
    const auto count = lengthOf(full, length);
    const auto a = full.find(data);
    const auto b = shorter.find(data);
    if (!count || lengthOf(shorter, length) != count || a == full.end() || b == shorter.end() ||
        a->second.rank() != 3 || a->second.shape() != b->second.shape() ||
        a->second.shape()[0] != 1) {
        return false;
    }
    const auto& shape = a->second.shape();
    const auto frames =
        static_cast<std::int64_t>(std::clamp(*count, 0.0, static_cast<double>(shape[2])));
    const auto at = [](const MultiArray& array, std::int64_t d, std::int64_t t) {
        return array.number(d * array.strides()[1] + t * array.strides()[2]);
    };
    double all = 0;
    double off = 0;
    double worst = 0;
    for (std::int64_t t = 0; t < frames; ++t) {
        double offHere = 0;
        for (std::int64_t d = 0; d < shape[1]; ++d) {
            const double x = at(a->second, d, t);
            const double y = at(b->second, d, t);
            if (x != y && !(std::isnan(x) && std::isnan(y))) {
                offHere += (x - y) * (x - y); // of no number if one of them is none
            }
            all += std::isfinite(x) ? x * x : 0;
        }
        off += offHere;
        worst = offHere <= worst ? worst : offHere;
    }
    return off <= tolerance.all * tolerance.all * all &&
           worst * static_cast<double>(frames) <= tolerance.each * tolerance.each * all;
}

/// A case under way.
struct LengthProof::Running {
    ParakeetLoaded& models;
    StopToken stop;
    Turn turn;
    MLFeatures sound;

    /// What the two say one behind the other.
    struct Said {
        MLFeatures mel;
        MLFeatures encoded;
    };

    /// One prediction: so many frames, or all if it is 0.
    Task<MLFeatures> predict(MLModel& model, std::int64_t frames, const MLFeatures& inputs)
    {
        co_await turn();
        if (stop.stopRequested()) {
            throw MLStopped();
        }
        if (frames == 0) {
            co_return co_await model.predict(inputs, WorkPriority::background, stop);
        }
        co_return co_await model.predictAt(frames, inputs, WorkPriority::background, stop);
    }

    /// The encoder's word, so many frames long, on what a preprocessor said.
    Task<MLFeatures> encode(std::int64_t frames, const MLFeatures& mel)
    {
        MLFeatures features;
        for (const char* name : {"mel", "mel_length"}) {
            const auto found = mel.find(name);
            if (found == mel.end()) {
                throw RuntimeError::badOutput();
            }
            features[name] = found->second;
        }
        co_return co_await predict(*models.encoder, frames, features);
    }

    Task<Said> sayAll()
    {
        Said said;
        said.mel = co_await predict(*models.preprocessor, fullLength.samples, sound);
        said.encoded = co_await encode(fullLength.frames, said.mel);
        co_return said;
    }

    /// Whether they say the same at that length. An encoder is asked only about what its
    /// preprocessor got right, which has the shape that it takes.
    Task<bool> agreesAt(ShorterLength length, const Said& full)
    {
        try {
            const MLFeatures mel = co_await predict(*models.preprocessor, length.samples, sound);
            if (!agree(full.mel, mel, "mel", "mel_length", preprocessorTolerance)) {
                co_return false;
            }
            const MLFeatures encoded = co_await encode(length.frames, mel);
            co_return agree(full.encoded, encoded, "encoder", "encoder_length", encoderTolerance);
        } catch (const MLNoSuchLength&) {
            co_return false;
        }
    }
};

bool LengthProof::isDone() const
{
    return next == caseCount || std::ranges::all_of(failed, [](bool one) { return one; });
}

Task<void> LengthProof::proveNext(ParakeetLoaded& models, StopToken stop, Turn turn)
{
    const Case now = caseOf(next);
    Running running{models, std::move(stop), std::move(turn), soundOf(now.samples)};
    const auto lengths = everyShorterLength();
    std::optional<Running::Said> full;
    for (const auto number : now.numbers) {
        if (failed[number]) {
            continue;
        }
        if (!full) {
            full = co_await running.sayAll();
        }
        failed[number] = !co_await running.agreesAt(lengths[number], *full);
    }
    ++next;
}

ShorterLengths LengthProof::result() const
{
    const auto lengths = everyShorterLength();
    ShorterLengths held;
    for (std::size_t i = 0; i < shorterLengthCount; ++i) {
        if (!failed[i]) {
            held.push_back(lengths[i]);
        }
    }
    return held;
}

} // namespace vorlin
