#include "SpeechWatch.h"

#include "PlayedSound.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace vorlin {
namespace {

constexpr double microphone = 48000;
const std::vector<std::string> sentences = {"weather", "station", "committee", "museum"};

/// How many of the buffers were speech.
int speechIn(const Sound& sound, double rate = microphone, std::uint32_t frames = 2048,
             std::uint32_t channels = 1)
{
    SpeechWatch watch;
    int count = 0;
    for (const auto& buffer : captured(sound, rate, frames, channels)) {
        count += watch.hear(buffer) ? 1 : 0;
    }
    return count;
}

/// With a second of the room before it and after it, which is heard through a fan at `roomDBFS`.
Sound inRoom(const Sound& sound, double rate, double roomDBFS)
{
    const Sound pause = silence(1, rate);
    const Sound padded = joined(joined(pause, sound), pause);
    return mixed(padded, fan(static_cast<double>(padded.size()) / rate, rate, roomDBFS));
}

TEST(SpeechWatch, everySentenceIsHeardLoudAndSoftInQuietAndNoisyRooms)
{
    for (const auto& name : sentences) {
        for (const double loudness : {-15, -22, -30, -38, -44}) {
            for (const double room : {-70, -50, -40, -30}) {
                if (loudness - room >= 8) {
                    const Sound sound = sentence(name, microphone, loudness);
                    EXPECT_GT(speechIn(inRoom(sound, microphone, room)), 0)
                        << name << ' ' << loudness << " in " << room;
                }
            }
        }
    }
}

TEST(SpeechWatch, atEveryRateAndWithEveryChannelCountOfAMicrophone)
{
    for (const double rate : {8000, 16000, 22050, 44100, 96000}) {
        for (const auto& name : sentences) {
            const Sound sound = inRoom(sentence(name, rate, -25), rate, -60);
            EXPECT_GT(speechIn(sound, rate), 0) << name << ' ' << rate;
            EXPECT_GT(speechIn(sound, rate, 480, 8), 0) << name << ' ' << rate;
        }
    }
}

TEST(SpeechWatch, theChannelThatIsSpokenIntoIsHeard)
{
    const Sound sound = inRoom(sentence("weather", microphone, -25), microphone, -60);
    const Sound room = fan(static_cast<double>(sound.size()) / microphone, microphone, -60);
    for (const double offset : {0.0, 0.3}) {
        SpeechWatch watch;
        int heard = 0;
        for (auto& buffer : captured(sound, microphone, 1024, 8, 2)) {
            auto* samples = reinterpret_cast<float*>(buffer.plane(0).data());
            for (std::size_t i = 0; i < buffer.frameLength(); ++i) {
                samples[i * 8] = static_cast<float>(offset) + room[i];
            }
            heard += watch.hear(buffer) ? 1 : 0;
        }
        EXPECT_GT(heard, 0) << "beside a constant of " << offset;
    }
}

TEST(SpeechWatch, somebodyWhoSpeaksFromTheFirstSampleIsHeard)
{
    for (const auto& name : sentences) {
        EXPECT_GT(speechIn(sentence(name, microphone, -20)), 0) << name;
    }
}

TEST(SpeechWatch, typingIsNoSpeech)
{
    for (const double keys : {4, 8, 12}) {
        for (const double peak : {-10, -25}) {
            for (const double echo : {0.03, 0.08}) {
                const Sound sound = typing(20, microphone, keys, peak, echo);
                EXPECT_EQ(speechIn(mixed(sound, fan(20, microphone, -55))), 0)
                    << keys << " keys a second, " << peak << " dBFS, " << echo << " s";
            }
        }
    }
}

TEST(SpeechWatch, aFanIsNoSpeechNorIsOneThatStarts)
{
    for (const double level : {-55, -40, -25}) {
        EXPECT_EQ(speechIn(fan(60, microphone, level)), 0) << level;
    }
    EXPECT_EQ(speechIn(joined(fan(20, microphone, -60), fan(20, microphone, -30))), 0);
}

TEST(SpeechWatch, aHumIsTheRoom)
{
    for (const double hertz : {50, 100, 120, 150}) {
        EXPECT_EQ(speechIn(mixed(hum(60, microphone, hertz, -35), fan(60, microphone, -60))), 0)
            << hertz;
    }
}

TEST(SpeechWatch, typingOverAHumIsNoSpeech)
{
    const Sound room = mixed(hum(60, microphone, 120, -50), fan(60, microphone, -55));
    EXPECT_EQ(speechIn(mixed(typing(60, microphone, 8, -15, 0.03), room)), 0);
}

TEST(SpeechWatch, aVoiceIsSpeechAfterFourTenthsOfASecond)
{
    const Sound room = fan(3, microphone, -60);
    EXPECT_EQ(speechIn(mixed(joined(silence(1, microphone), vowel(0.3, microphone)), room)), 0);
    EXPECT_GT(speechIn(mixed(joined(silence(1, microphone), vowel(0.5, microphone)), room)), 0);
}

TEST(SpeechWatch, digitalSilenceAndNonsenseAreNoSpeech)
{
    EXPECT_EQ(speechIn(silence(10, microphone)), 0);
    Sound broken = vowel(2, microphone);
    for (std::size_t i = 0; i < broken.size(); i += 100) {
        broken[i] = std::numeric_limits<float>::quiet_NaN();
    }
    SpeechWatch watch;
    for (const auto& buffer : captured(broken, microphone)) {
        watch.hear(buffer);
    }
    PCMBuffer integers({SampleType::int16, microphone, 1, false}, 2048);
    integers.setFrameLength(2048);
    EXPECT_FALSE(watch.hear(integers));
    EXPECT_FALSE(watch.hear(captured(vowel(1, 100), 100).front()));
    EXPECT_FALSE(watch.hear(PCMBuffer({SampleType::float32, 0, 1, false}, 10)));
    int heard = 0;
    const Sound later = joined(silence(1, microphone), vowel(1, microphone));
    for (const auto& buffer : captured(later, microphone)) {
        heard += watch.hear(buffer) ? 1 : 0;
    }
    EXPECT_GT(heard, 0) << "what was no number is forgotten";
}

} // namespace
} // namespace vorlin
