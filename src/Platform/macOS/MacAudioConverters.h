#pragma once

#include "Ports/AudioConverter.h"

namespace vorlin {

/// The platform's own conversion, any rate and layout to any other.
class MacAudioConverters final : public AudioConverters {
public:
    std::unique_ptr<AudioConverter> make(const AudioFormat& source,
                                         const AudioFormat& target) override;
};

} // namespace vorlin
