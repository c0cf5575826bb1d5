#pragma once

#include "Audio/PCMBuffer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <numbers>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorlin {

/// Sound made for tests: mono, full scale is 1.
using Sound = std::vector<float>;

inline float fromDecibels(double dBFS)
{
    return static_cast<float>(std::pow(10, dBFS / 20));
}

inline Sound silence(double seconds, double rate)
{
    return Sound(static_cast<std::size_t>(seconds * rate));
}

/// Both at once; as long as the longer one.
inline Sound mixed(Sound one, const Sound& other)
{
    one.resize(std::max(one.size(), other.size()));
    for (std::size_t i = 0; i < other.size(); ++i) {
        one[i] += other[i];
    }
    return one;
}

inline Sound joined(Sound first, const Sound& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// What a held vowel is to `SpeechWatch`: every overtone of 140 Hz.
inline Sound vowel(double seconds, double rate, double dBFS = -20)
{
    Sound sound = silence(seconds, rate);
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double periods = 140 * static_cast<double>(i) / rate;
        sound[i] = static_cast<float>(2 * (periods - std::floor(periods)) - 1) * fromDecibels(dBFS);
    }
    return sound;
}

/// A recorded sentence of the speech fixtures as a microphone of this rate would give it; its
/// louder parts at `dBFS`.
inline Sound sentence(const std::string& name, double rate, double dBFS)
{
    constexpr std::size_t headerBytes = 44;
    constexpr double storedRate = 16000;
    std::ifstream file(std::string(VORLIN_SPEECH_FIXTURES "/") + name + ".wav", std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() <= headerBytes) {
        throw std::runtime_error("no fixture " + name);
    }
    Sound stored;
    double power = 0;
    double loud = 0;
    for (std::size_t i = headerBytes; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<std::uint8_t>(bytes[i]);
        const auto high = static_cast<std::uint8_t>(bytes[i + 1]);
        const auto value = static_cast<std::int16_t>(low | (high << 8U));
        stored.push_back(static_cast<float>(value) / 32768);
        if (std::abs(stored.back()) > 0.02F) {
            power += stored.back() * stored.back();
            ++loud;
        }
    }
    const auto gain = static_cast<float>(fromDecibels(dBFS) / std::sqrt(power / loud));
    Sound sound = silence(static_cast<double>(stored.size()) / storedRate, rate);
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const double at = static_cast<double>(i) * storedRate / rate;
        const auto before = std::min(static_cast<std::size_t>(at), stored.size() - 2);
        const auto part = static_cast<float>(at - static_cast<double>(before));
        sound[i] = gain * (stored[before] * (1 - part) + stored[before + 1] * part);
    }
    return sound;
}

/// Noise whose power falls with the frequency, as a fan's does.
inline Sound fan(double seconds, double rate, double dBFS, std::uint64_t seed = 1)
{
    std::mt19937_64 random(seed);
    std::normal_distribution<float> white;
    // Filters of one pole each, whose sum falls by 3 dB an octave.
    const float poles[] = {0.997F, 0.963F, 0.57F};
    const float gains[] = {0.029F, 0.055F, 0.30F};
    float states[] = {0, 0, 0};
    Sound sound = silence(seconds, rate);
    double power = 0;
    for (float& sample : sound) {
        const float next = white(random);
        for (std::size_t i = 0; i < std::size(states); ++i) {
            states[i] = poles[i] * states[i] + gains[i] * next;
            sample += states[i];
        }
        power += sample * sample;
    }
    const auto gain = static_cast<float>(fromDecibels(dBFS) /
                                         std::sqrt(power / static_cast<double>(sound.size())));
    std::ranges::for_each(sound, [gain](float& sample) { sample *= gain; });
    return sound;
}

inline Sound hum(double seconds, double rate, double hertz, double dBFS)
{
    Sound sound = silence(seconds, rate);
    for (std::size_t i = 0; i < sound.size(); ++i) {
        sound[i] = fromDecibels(dBFS) * static_cast<float>(std::sin(2 * std::numbers::pi * hertz *
                                                                    static_cast<double>(i) / rate));
    }
    return sound;
}

/// Somebody types: each key clicks when it goes down, and more softly when it goes up, with the
/// room behind it for `echo` seconds; pauses now and then.
inline Sound typing(double seconds, double rate, double keysPerSecond, double peakDBFS, double echo,
                    std::uint64_t seed = 1)
{
    std::mt19937_64 random(seed);
    std::normal_distribution<double> white;
    std::uniform_real_distribution<double> chance;
    Sound sound = silence(seconds, rate);
    const auto click = [&](double at, double gain) {
        double direct = 0.3 * gain;
        double late = 0.25 * direct;
        const auto first = static_cast<std::size_t>(at * rate);
        const auto end = std::min(first + static_cast<std::size_t>(0.2 * rate), sound.size());
        for (auto i = first; i < end; ++i) {
            sound[i] += static_cast<float>(white(random) * (direct + late));
            direct *= std::exp(-1 / (0.004 * rate));
            late *= std::exp(-1 / (echo * rate));
        }
    };
    double at = 0.3;
    while (at < seconds) {
        const double gain = fromDecibels(peakDBFS) * (0.5 + chance(random));
        click(at, gain);
        click(at + 0.07 + 0.06 * chance(random), gain / 2);
        at += (0.4 - 0.6 * std::log(1 - chance(random))) / keysPerSecond;
        at += chance(random) < 0.12 ? 0.4 + 1.5 * chance(random) : 0;
    }
    return sound;
}

/// As a microphone of `channels` channels delivers it, in the one numbered `into`.
inline std::vector<PCMBuffer> captured(const Sound& sound, double rate, std::uint32_t frames = 2048,
                                       std::uint32_t channels = 1, std::uint32_t into = 0)
{
    std::vector<PCMBuffer> buffers;
    for (std::size_t at = 0; at < sound.size(); at += frames) {
        const auto length =
            static_cast<std::uint32_t>(std::min<std::size_t>(frames, sound.size() - at));
        PCMBuffer buffer({SampleType::float32, rate, channels, true}, frames);
        buffer.setFrameLength(length);
        auto* samples = reinterpret_cast<float*>(buffer.plane(0).data());
        for (std::size_t i = 0; i < length; ++i) {
            samples[i * channels + into] = sound[at + i];
        }
        buffers.push_back(std::move(buffer));
    }
    return buffers;
}

} // namespace vorlin
