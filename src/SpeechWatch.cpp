#include "SpeechWatch.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace vorlin {

namespace {

/// Enough for the voice's fundamental and its first overtones, and little to compute.
constexpr double wantedRate = 4000;
constexpr double pieceSeconds = 0.04;
/// Rumble and mains hum are below; of a voice its overtones are left.
constexpr double highPass = 200;
constexpr double deepestVoice = 80;
constexpr double highestVoice = 350;

/// Pieces: 5 s show the room, between words.
constexpr std::size_t roomPieces = 125;
constexpr double roomShare = 0.1;
/// dB above the room.
constexpr double margin = 3.2;
/// dBFS; what is softer is nobody who dictates.
constexpr double softest = -60;

/// Pieces: 0.4 s of 1 s.
constexpr std::size_t speechPieces = 25;
constexpr std::ptrdiff_t voicedOfThem = 10;

/// How alike a voice is to itself a period later, at least.
constexpr double alike = 0.55;

/// Of power: 6 dB.
constexpr double clearlyLouder = 4;
/// What a channel's loudness loses at most from one buffer to the next.
constexpr double fading = 0.98;

/// The power of the samples, without what is constant in them.
double swing(std::span<const float> samples, std::size_t stride)
{
    double sum = 0;
    double squares = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < samples.size(); i += stride) {
        const double sample = std::isfinite(samples[i]) ? samples[i] : 0;
        sum += sample;
        squares += sample * sample;
        ++count;
    }
    const auto frames = static_cast<double>(count);
    return count == 0 ? 0 : std::max(0.0, squares / frames - (sum / frames) * (sum / frames));
}

template <class T>
void keep(std::deque<T>& latest, T next, std::size_t atMost)
{
    latest.push_back(next);
    if (latest.size() > atMost) {
        latest.pop_front();
    }
}

} // namespace

bool SpeechWatch::hear(const PCMBuffer& buffer)
{
    if (!(buffer.format().sampleRate >= wantedRate)) {
        return false;
    }
    if (buffer.format().sampleRate != rate) {
        begin(buffer.format().sampleRate);
    }
    const auto samples = buffer.floatChannel(loudest(buffer));
    const auto pieceLength = static_cast<std::size_t>(coarseRate * pieceSeconds);
    const double kept = 1 / (1 + 2 * std::numbers::pi * highPass / coarseRate);
    bool speech = false;
    for (std::size_t i = 0; i < samples.size(); i += buffer.stride()) {
        const double sample = std::isfinite(samples[i]) ? samples[i] : 0;
        power += sample * sample;
        sum += sample;
        if (++summed < together) {
            continue;
        }
        const double mean = sum / summed;
        sum = 0;
        summed = 0;
        filterOut = kept * (filterOut + mean - filterIn);
        filterIn = mean;
        piece.push_back(filterOut);
        if (piece.size() >= pieceLength) {
            speech = endPiece() || speech;
        }
    }
    return speech;
}

/// The channel to hear. Of two that are about as loud it stays with the one that it heard before.
std::uint32_t SpeechWatch::loudest(const PCMBuffer& buffer)
{
    loudness.resize(buffer.format().channels);
    channel = channel < loudness.size() ? channel : 0;
    for (std::uint32_t each = 0; each < loudness.size(); ++each) {
        const double now = swing(buffer.floatChannel(each), buffer.stride());
        loudness[each] = std::max(now, loudness[each] * fading);
    }
    for (std::uint32_t each = 0; each < loudness.size(); ++each) {
        channel = loudness[each] > loudness[channel] * clearlyLouder ? each : channel;
    }
    return channel;
}

void SpeechWatch::begin(double sampleRate)
{
    *this = {};
    rate = sampleRate;
    together = static_cast<unsigned>(std::lround(rate / wantedRate));
    coarseRate = rate / together;
}

/// Whether somebody speaks at its end.
bool SpeechWatch::endPiece()
{
    const double rms = std::sqrt(power / static_cast<double>(piece.size() * together));
    const double level = std::max(softest, 20 * std::log10(rms));
    keep(levels, level, roomPieces);
    keep(voiced, level > floor() + margin && periodicity() > alike, speechPieces);
    piece.clear();
    power = 0;
    return std::ranges::count(voiced, true) >= voicedOfThem;
}

/// The level of the room, dBFS: what the softest tenth of the latest pieces does not exceed.
double SpeechWatch::floor() const
{
    std::vector<double> sorted(levels.begin(), levels.end());
    const auto at = static_cast<std::ptrdiff_t>(roomShare * static_cast<double>(sorted.size()));
    std::ranges::nth_element(sorted, sorted.begin() + at);
    return sorted[static_cast<std::size_t>(at)];
}

/// How much the piece is like itself a period later, at most 1: the largest normalised
/// autocorrelation, sum x(i) x(i+lag) / sqrt(sum x(i)^2 sum x(i+lag)^2), over the periods of a
/// voice.
double SpeechWatch::periodicity() const
{
    const auto first = static_cast<std::size_t>(coarseRate / highestVoice);
    const auto last =
        std::min(static_cast<std::size_t>(coarseRate / deepestVoice), piece.size() - 1);
    double largest = 0;
    for (std::size_t lag = first; lag <= last; ++lag) {
        double product = 0;
        double early = 0;
        double late = 0;
        for (std::size_t i = 0; i + lag < piece.size(); ++i) {
            product += piece[i] * piece[i + lag];
            early += piece[i] * piece[i];
            late += piece[i + lag] * piece[i + lag];
        }
        const double scale = std::sqrt(early * late);
        largest = std::max(largest, scale > 0 ? product / scale : 0);
    }
    return largest;
}

} // namespace vorlin
