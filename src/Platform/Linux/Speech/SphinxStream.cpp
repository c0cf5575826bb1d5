#include "Platform/Linux/Speech/SphinxStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vorlin {

SphinxStream::SphinxStream(SpeechModel model, SpeechAnalyzers::OnResult onResult)
    : model(std::move(model)), onResult(std::move(onResult))
{
}

void SphinxStream::deliver(const std::string& text, bool isFinal)
{
    const std::scoped_lock guard(delivery);
    if (!cancelled) {
        onResult(text, isFinal);
    }
}

std::vector<std::int16_t> SphinxStream::take(std::size_t most)
{
    std::vector<std::int16_t> samples;
    while (samples.size() < most && !waiting.empty()) {
        const PCMBuffer& buffer = *waiting.front();
        const std::size_t left = buffer.frameLength() - takenOfFirst;
        const std::size_t count = std::min(left, most - samples.size());
        const auto bytes = buffer.plane(0).subspan(takenOfFirst * sizeof(std::int16_t),
                                                   count * sizeof(std::int16_t));
        const std::size_t before = samples.size();
        samples.resize(before + count);
        std::memcpy(samples.data() + before, bytes.data(), bytes.size());
        takenOfFirst += count;
        if (count == left) {
            waiting.pop_front();
            takenOfFirst = 0;
        }
    }
    return samples;
}

} // namespace vorlin
