#include "Platform/macOS/Plain/SampleFormats.h"

#include "Async/Fatal.h"

namespace vorlin {

namespace {

constexpr std::uint32_t float32 = 1;
constexpr std::uint32_t int16 = 3;
constexpr std::uint32_t int32 = 4;

} // namespace

std::optional<SampleType> sampleType(std::uint64_t commonFormat)
{
    switch (commonFormat) {
    case float32: return SampleType::float32;
    case int16: return SampleType::int16;
    case int32: return SampleType::int32;
    default: return std::nullopt;
    }
}

std::uint32_t commonFormat(SampleType type)
{
    switch (type) {
    case SampleType::float32: return float32;
    case SampleType::int16: return int16;
    case SampleType::int32: return int32;
    }
    fatal("a sample type out of range");
}

std::uint32_t planesOf(const AudioFormat& format)
{
    return format.interleaved ? 1 : format.channels;
}

} // namespace vorlin
