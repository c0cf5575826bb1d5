#include "Platform/Linux/Audio/CaptureBuffers.h"

#include <algorithm>
#include <utility>

namespace vorlin {

CaptureBuffers::CaptureBuffers(const AudioFormat& format, std::uint32_t frames, Deliver deliver)
    : buffer(format, frames), deliver(std::move(deliver))
{
}

void CaptureBuffers::append(std::span<const std::byte> samples)
{
    while (!samples.empty()) {
        const auto free = room(samples.size());
        std::ranges::copy(samples.first(free.size()), free.begin());
        samples = samples.subspan(free.size());
        filled(free.size());
    }
}

void CaptureBuffers::appendSilence(std::size_t bytes)
{
    while (bytes > 0) {
        const auto free = room(bytes);
        std::ranges::fill(free, std::byte{0});
        bytes -= free.size();
        filled(free.size());
    }
}

void CaptureBuffers::flush()
{
    const auto frames = static_cast<std::uint32_t>(used / buffer.format().bytesPerFrame());
    used = 0;
    if (frames > 0) {
        buffer.setFrameLength(frames);
        deliver(buffer);
    }
}

std::span<std::byte> CaptureBuffers::room(std::size_t wanted)
{
    const auto free = buffer.plane(0).subspan(used);
    return free.first(std::min(free.size(), wanted));
}

void CaptureBuffers::filled(std::size_t bytes)
{
    used += bytes;
    if (used == buffer.plane(0).size()) {
        flush();
    }
}

} // namespace vorlin
