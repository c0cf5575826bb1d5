#include "PCMConverter.h"

#include "Async/Fatal.h"

#include <cmath>
#include <limits>

namespace vorlin {

namespace {

/// Frames a conversion may give beyond what the rates imply.
constexpr double headroomFrames = 64;

std::uint32_t outputCapacity(const AudioFormat& target, const PCMBuffer& buffer)
{
    const double ratio = target.sampleRate / buffer.format().sampleRate;
    const double capacity = std::trunc(ratio * buffer.frameLength()) + headroomFrames;
    if (!(capacity <= std::numeric_limits<std::uint32_t>::max())) {
        fatal("converted audio does not fit into one buffer");
    }
    return static_cast<std::uint32_t>(capacity);
}

} // namespace

PCMConverter::PCMConverter(AudioConverters& converters, const AudioFormat& target)
    : converters(converters), target(target)
{
}

std::shared_ptr<const PCMBuffer> PCMConverter::convert(const PCMBuffer& buffer)
{
    if (source != buffer.format()) {
        source = buffer.format();
        converter = converters.make(*source, target);
    }
    if (!converter) {
        return nullptr;
    }
    auto output = std::make_shared<PCMBuffer>(target, outputCapacity(target, buffer));
    if (!converter->convert(buffer, *output)) {
        return nullptr;
    }
    return output;
}

} // namespace vorlin
