#include "Platform/Shared/Soxr/SoxrConverter.h"

#include "Platform/Shared/Soxr/PCMSamples.h"

#include <soxr.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

constexpr double lowestRate = 8000;
constexpr double highestRate = 192000;
constexpr std::uint32_t mostChannels = 32;

struct DeleteResampler {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
};
using Resampler = std::unique_ptr<soxr, DeleteResampler>;

class SoxrConverter final : public AudioConverter {
public:
    /// Without a `resampler` the rates are equal.
    SoxrConverter(const AudioFormat& source, const AudioFormat& target, Resampler resampler)
        : source(source), target(target), channels(std::min(source.channels, target.channels)),
          resampler(std::move(resampler))
    {
    }

    bool convert(const PCMBuffer& input, PCMBuffer& output) override
    {
        if (input.format() != source || output.format() != target) {
            return false;
        }
        if (!resampler) {
            appendSamples(input, channels, ready);
        } else if (!resample(input)) {
            return false;
        }
        const std::size_t given =
            std::min(ready.size(), std::size_t{output.frameCapacity()} * channels);
        writeSamples(std::span(ready).first(given), channels, output);
        ready.erase(ready.begin(), ready.begin() + static_cast<std::ptrdiff_t>(given));
        return true;
    }

private:
    /// Appends to `ready` all that the resampler gives for `input`.
    bool resample(const PCMBuffer& input)
    {
        incoming.clear();
        appendSamples(input, channels, incoming);
        for (double& sample : incoming) {
            // One of these would spoil every sample that the filter sees together with it.
            if (!std::isfinite(sample)) {
                sample = 0;
            }
        }
        // No count of consumed frames is asked for: then all of the input is taken.
        std::size_t frames = input.frameLength();
        if (frames == 0) {
            return true; // to the library, no input is the end of the stream
        }
        const std::size_t room = static_cast<std::size_t>(static_cast<double>(frames) *
                                                          target.sampleRate / source.sampleRate) +
                                 64;
        std::size_t given = room;
        while (given == room) {
            const std::size_t before = ready.size();
            ready.resize(before + room * channels);
            const auto error = soxr_process(resampler.get(), incoming.data(), frames, nullptr,
                                            ready.data() + before, room, &given);
            ready.resize(before + given * channels);
            if (error != nullptr) {
                return false;
            }
            frames = 0;
        }
        return true;
    }

    AudioFormat source;
    AudioFormat target;
    /// Of the samples in between.
    std::uint32_t channels;
    Resampler resampler;
    std::vector<double> incoming;
    /// Converted and not yet given away.
    std::vector<double> ready;
};

bool isConvertible(const AudioFormat& format)
{
    // Written so that a rate that is not a number is refused.
    return format.sampleRate >= lowestRate && format.sampleRate <= highestRate &&
           format.channels >= 1 && format.channels <= mostChannels;
}

} // namespace

std::unique_ptr<AudioConverter> SoxrConverters::make(const AudioFormat& source,
                                                     const AudioFormat& target)
{
    if (!isConvertible(source) || !isConvertible(target)) {
        return nullptr;
    }
    if (source.channels != target.channels && source.channels != 1 && target.channels != 1) {
        return nullptr;
    }
    Resampler resampler;
    if (source.sampleRate != target.sampleRate) {
        const auto samples = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
        const auto quality = soxr_quality_spec(SOXR_HQ, 0);
        const auto runtime = soxr_runtime_spec(1);
        soxr_error_t error = nullptr;
        resampler.reset(soxr_create(source.sampleRate, target.sampleRate,
                                    std::min(source.channels, target.channels), &error, &samples,
                                    &quality, &runtime));
        if (error != nullptr || !resampler) {
            return nullptr;
        }
    }
    return std::make_unique<SoxrConverter>(source, target, std::move(resampler));
}

} // namespace vorlin
