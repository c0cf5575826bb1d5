#include "Parakeet/ShorterLengths.h"

#include <algorithm>
#include <array>

namespace vorlin {

namespace {

constexpr std::array<std::int64_t, shorterLengthCount> seconds{2, 3, 4, 6, 8, 11};
constexpr std::int64_t samplesInSecond = 16000;
constexpr std::int64_t framesInSecond = 100;
/// A frame sees 512 samples around its middle, and a reflection of the end reaches as far back.
constexpr std::int64_t roomOfSamples = 640;
/// What eight frames become one of sees seven more on either side. So many seconds may be one
/// frame more.
constexpr std::int64_t roomOfFrames = 16;

std::vector<std::int64_t> lengthsOf(std::int64_t inSecond, std::int64_t room)
{
    std::vector<std::int64_t> lengths;
    for (const auto second : seconds) {
        lengths.push_back(second * inSecond + room);
    }
    return lengths;
}

} // namespace

MLFrames preprocessorFrames()
{
    return {"audio_signal", 1, "audio_length", lengthsOf(samplesInSecond, roomOfSamples)};
}

MLFrames encoderFrames()
{
    return {"mel", 2, "mel_length", lengthsOf(framesInSecond, 1 + roomOfFrames)};
}

ShorterLengths everyShorterLength()
{
    const auto samples = preprocessorFrames().lengths;
    const auto frames = encoderFrames().lengths;
    ShorterLengths every;
    for (std::size_t i = 0; i < shorterLengthCount; ++i) {
        every.push_back({samples[i], frames[i]});
    }
    return every;
}

std::int64_t longestSpeech(std::size_t number)
{
    return seconds[number] * samplesInSecond;
}

std::optional<ShorterLength> shortestFor(const ShorterLengths& lengths, std::int64_t count)
{
    const auto found =
        std::ranges::lower_bound(lengths, count + roomOfSamples, {}, &ShorterLength::samples);
    return count < leastSpeech || found == lengths.end() ? std::nullopt : std::optional(*found);
}

} // namespace vorlin
