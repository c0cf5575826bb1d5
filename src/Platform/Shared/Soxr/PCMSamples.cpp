#include "Platform/Shared/Soxr/PCMSamples.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vorlin {

namespace {

/// The value of full scale in a whole-number format: 2^(bits - 1).
template <class Sample>
constexpr double fullScale = -static_cast<double>(std::numeric_limits<Sample>::min());

template <class Sample>
double toReal(Sample sample)
{
    if constexpr (std::is_floating_point_v<Sample>) {
        return sample;
    } else {
        return sample / fullScale<Sample>;
    }
}

template <class Sample>
Sample fromReal(double value)
{
    if constexpr (std::is_floating_point_v<Sample>) {
        return static_cast<Sample>(value);
    } else {
        if (std::isnan(value)) {
            return 0;
        }
        return static_cast<Sample>(std::clamp(std::nearbyint(value * fullScale<Sample>),
                                              -fullScale<Sample>, fullScale<Sample> - 1));
    }
}

/// Where the sample of `channel` in `frame` lies, in bytes from the start of its plane.
std::size_t offset(const PCMBuffer& buffer, std::uint32_t frame, std::uint32_t channel)
{
    const std::size_t within = buffer.format().interleaved ? channel : 0;
    return (std::size_t{frame} * buffer.stride() + within) *
           bytesPerSample(buffer.format().sampleType);
}

template <class Sample>
void append(const PCMBuffer& buffer, std::uint32_t channels, std::vector<double>& samples)
{
    const std::uint32_t sourceChannels = buffer.format().channels;
    const std::size_t start = samples.size();
    samples.resize(start + std::size_t{buffer.frameLength()} * channels);
    for (std::uint32_t channel = 0; channel < sourceChannels; ++channel) {
        const auto plane = buffer.plane(buffer.format().interleaved ? 0 : channel);
        double* to = samples.data() + start + (channels == 1 ? 0 : channel);
        for (std::uint32_t frame = 0; frame < buffer.frameLength(); ++frame) {
            Sample sample;
            std::memcpy(&sample, plane.data() + offset(buffer, frame, channel), sizeof sample);
            double& sum = to[std::size_t{frame} * channels];
            sum = channel == 0 || channels != 1 ? toReal(sample) : sum + toReal(sample);
        }
    }
    if (channels != sourceChannels) {
        for (std::size_t i = start; i < samples.size(); ++i) {
            samples[i] /= sourceChannels;
        }
    }
}

template <class Sample>
void write(std::span<const double> samples, std::uint32_t channels, PCMBuffer& buffer)
{
    for (std::uint32_t channel = 0; channel < buffer.format().channels; ++channel) {
        const auto plane = buffer.plane(buffer.format().interleaved ? 0 : channel);
        const double* from = samples.data() + (channels == 1 ? 0 : channel);
        for (std::uint32_t frame = 0; frame < buffer.frameLength(); ++frame) {
            const auto sample = fromReal<Sample>(from[std::size_t{frame} * channels]);
            std::memcpy(plane.data() + offset(buffer, frame, channel), &sample, sizeof sample);
        }
    }
}

} // namespace

void appendSamples(const PCMBuffer& buffer, std::uint32_t channels, std::vector<double>& samples)
{
    switch (buffer.format().sampleType) {
    case SampleType::float32: append<float>(buffer, channels, samples); break;
    case SampleType::int16: append<std::int16_t>(buffer, channels, samples); break;
    case SampleType::int32: append<std::int32_t>(buffer, channels, samples); break;
    }
}

void writeSamples(std::span<const double> samples, std::uint32_t channels, PCMBuffer& buffer)
{
    buffer.setFrameLength(static_cast<std::uint32_t>(samples.size() / channels));
    switch (buffer.format().sampleType) {
    case SampleType::float32: write<float>(samples, channels, buffer); break;
    case SampleType::int16: write<std::int16_t>(samples, channels, buffer); break;
    case SampleType::int32: write<std::int32_t>(samples, channels, buffer); break;
    }
}

} // namespace vorlin
