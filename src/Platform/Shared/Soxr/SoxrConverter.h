#pragma once

#include "Ports/AudioConverter.h"

namespace vorlin {

/// Conversions by libsoxr.
///
/// Converts between any two rates from 8 to 192 kHz, 1 to 32 channels, each sample type,
/// interleaved or not. Channels:
/// - to one channel: the mean of all channels, taken before resampling;
/// - from one channel: the same samples in every channel;
/// - as many channels as before: each stays as it is;
/// - any other pair cannot be converted.
///
/// Without a change of rate nothing is withheld, and samples that the target's type can hold are
/// exact. With one, up to 120 ms of the newest sound stay inside until more comes, and samples
/// that are not finite count as silence. Whole numbers are rounded to the nearest and clipped,
/// without dither.
class SoxrConverters final : public AudioConverters {
public:
    std::unique_ptr<AudioConverter> make(const AudioFormat& source,
                                         const AudioFormat& target) override;
};

} // namespace vorlin
