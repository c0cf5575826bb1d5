#pragma once

#include <cstdint>
#include <thread>
#include <vector>

namespace vorlin {

/// Records the default source beside the program's own capture, on a connection of its own. What
/// it has not heard either, the sound server has lost.
class SecondRecorder {
public:
    /// Returns when it records.
    SecondRecorder(std::uint32_t rate, std::uint32_t channels);
    SecondRecorder(const SecondRecorder&) = delete;
    SecondRecorder& operator=(const SecondRecorder&) = delete;
    ~SecondRecorder();

    /// All samples, frame after frame, until half a second of silence has followed sound.
    std::vector<float> untilSilence();

private:
    struct Stream;

    void record(const std::stop_token& stop);

    Stream* stream;
    std::vector<float> heard;
    std::jthread thread;
};

} // namespace vorlin
