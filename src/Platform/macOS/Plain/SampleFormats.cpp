#include "Platform/macOS/Plain/SampleFormats.h"

#include "Async/Fatal.h"

namespace vorlin {

std::optional<SampleType> sampleType(std::uint64_t commonFormat)
{
    switch (commonFormat) {
    case commonFormats::float32: return SampleType::float32;
    case commonFormats::int16: return SampleType::int16;
    case commonFormats::int32: return SampleType::int32;
    default: return std::nullopt;
    }
}

std::uint32_t commonFormat(SampleType type)
{
    switch (type) {
    case SampleType::float32: return commonFormats::float32;
    case SampleType::int16: return commonFormats::int16;
    case SampleType::int32: return commonFormats::int32;
    }
    fatal("a sample type out of range");
}

std::uint32_t planesOf(const AudioFormat& format)
{
    return format.interleaved ? 1 : format.channels;
}

} // namespace vorlin
