#pragma once

#include "Async/MainLoop.h"
#include "Audio/PCMBuffer.h"
#include "Ports/AudioInput.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace vorlin {

/// Keeps what a capture delivers. Its taps wake the loop at each buffer.
class Recorder {
public:
    explicit Recorder(MainLoop& loop) : loop(loop) {}

    /// A tap into this recorder, which must outlive the capture.
    AudioInput::Tap tap()
    {
        return [this](const PCMBuffer& buffer) {
            {
                const std::scoped_lock guard(lock);
                bufferLengths.push_back(buffer.frameLength());
                bufferFormats.push_back(buffer.format());
                const auto samples = buffer.floatChannel(0);
                heard.insert(heard.end(), samples.begin(), samples.end());
            }
            loop.post([] {});
        };
    }

    /// Frames in each buffer.
    std::vector<std::uint32_t> lengths() const
    {
        const std::scoped_lock guard(lock);
        return bufferLengths;
    }

    std::vector<AudioFormat> formats() const
    {
        const std::scoped_lock guard(lock);
        return bufferFormats;
    }

    std::size_t buffers() const { return lengths().size(); }

    /// All samples, frame after frame.
    std::vector<float> samples() const
    {
        const std::scoped_lock guard(lock);
        return heard;
    }

private:
    MainLoop& loop;
    mutable std::mutex lock;
    std::vector<std::uint32_t> bufferLengths;
    std::vector<AudioFormat> bufferFormats;
    std::vector<float> heard;
};

} // namespace vorlin
