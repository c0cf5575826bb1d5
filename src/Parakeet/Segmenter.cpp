#include "Parakeet/Segmenter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace vorlin {

namespace {

constexpr float speechThreshold = 0.006F;
constexpr float thresholdFactor = 2.5F;
constexpr float newFrameWeight = 0.05F;
constexpr float oldFloorWeight = 0.95F;

} // namespace

Segmenter::Segmenter(Emit emit) : emit(std::move(emit)) {}

void Segmenter::append(std::span<const float> samples)
{
    std::vector<Samples> closed;
    {
        const std::scoped_lock guard(lock);
        pending.reserve(pending.size() + samples.size());
        for (const float sample : samples) {
            pending.push_back(std::isfinite(sample) ? sample : 0);
        }
        const std::span<const float> all = pending;
        std::size_t done = 0;
        for (; all.size() - done >= frame; done += frame) {
            process(all.subspan(done, frame), closed);
        }
        pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(done));
    }
    deliver(std::move(closed));
}

void Segmenter::process(std::span<const float> samples, std::vector<Samples>& into)
{
    float energy = 0;
    for (const float sample : samples) {
        energy += sample * sample;
    }
    const float rms = std::sqrt(energy / static_cast<float>(samples.size()));
    const bool speech = rms > std::max(noiseFloor * thresholdFactor, speechThreshold);
    if (!speech) {
        noiseFloor = rms * newFrameWeight + noiseFloor * oldFloorWeight;
    }
    segment.insert(segment.end(), samples.begin(), samples.end());

    bool pause = false;
    if (speech) {
        heardSpeech = true;
        silentRun = 0;
    } else {
        silentRun += static_cast<std::int64_t>(samples.size());
        if (!heardSpeech) {
            if (std::ssize(segment) > preRoll) {
                segment.erase(segment.begin(), segment.end() - preRoll);
            }
            return;
        }
        pause = silentRun >= pauseToCut;
    }
    const auto length = std::ssize(segment);
    if (length >= hardLimit || (length >= softLimit && pause)) {
        cut(into);
    }
}

void Segmenter::cut(std::vector<Samples>& into)
{
    const auto length = std::ssize(segment);
    if (heardSpeech && length - silentRun >= minSpeech) {
        const auto trim = std::max<std::int64_t>(silentRun - keepTail, 0);
        into.emplace_back(segment.begin(), segment.end() - trim);
    }
    segment.clear();
    heardSpeech = false;
    silentRun = 0;
    ++cutsMade;
}

void Segmenter::flush()
{
    std::vector<Samples> closed;
    {
        const std::scoped_lock guard(lock);
        segment.insert(segment.end(), pending.begin(), pending.end());
        pending.clear();
        cut(closed);
    }
    deliver(std::move(closed));
}

void Segmenter::deliver(std::vector<Samples> utterances) const
{
    for (auto& utterance : utterances) {
        emit(std::move(utterance));
    }
}

std::optional<Segmenter::Draft> Segmenter::draft() const
{
    const std::scoped_lock guard(lock);
    if (!heardSpeech || std::ssize(segment) < minSpeech) {
        return std::nullopt;
    }
    return Draft{segment, cutsMade};
}

std::int64_t Segmenter::cuts() const
{
    const std::scoped_lock guard(lock);
    return cutsMade;
}

} // namespace vorlin
