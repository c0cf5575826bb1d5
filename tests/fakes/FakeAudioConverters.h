#pragma once

#include "Ports/AudioConverter.h"

#include <algorithm>
#include <functional>

namespace vorlin {

/// Converters that give the output its full length by the rates, and its samples when there is
/// nothing to convert; they count how often one is made.
class FakeAudioConverters final : public AudioConverters {
public:
    std::function<bool(const AudioFormat& source)> canConvert = [](const AudioFormat&) {
        return true;
    };
    bool conversionFails = false;
    int made = 0;
    std::uint32_t lastCapacity = 0;

    std::unique_ptr<AudioConverter> make(const AudioFormat& source,
                                         const AudioFormat& target) override
    {
        ++made;
        if (!canConvert(source)) {
            return nullptr;
        }
        return std::make_unique<Converter>(*this, target.sampleRate / source.sampleRate);
    }

private:
    class Converter final : public AudioConverter {
    public:
        Converter(FakeAudioConverters& owner, double ratio) : owner(owner), ratio(ratio) {}
        bool convert(const PCMBuffer& input, PCMBuffer& output) override
        {
            owner.lastCapacity = output.frameCapacity();
            output.setFrameLength(static_cast<std::uint32_t>(input.frameLength() * ratio));
            if (ratio == 1 && input.format() == output.format()) {
                std::ranges::copy(
                    input.plane(0).first(input.frameLength() * input.format().bytesPerFrame()),
                    output.plane(0).begin());
            }
            return !owner.conversionFails;
        }

    private:
        FakeAudioConverters& owner;
        double ratio;
    };
};

} // namespace vorlin
