// Usage: recogniser_bench FOLDER [VOICE]...
// Decodes the sentences that speak.sh spoke into FOLDER (of the voices named, or all), as fast as
// it can and one setting after the other, and prints for each setting
//   WER       words wrong in a hundred, with a decoder that has heard other sentences before;
//   first     the same, each sentence with a decoder just loaded (a morning's first dictation);
//   RTF       processor seconds for each second of audio;
//   latency   milliseconds from the last sample to the final text, had the audio come in real
//             time: median and worst;
//   partial   milliseconds from the begin of the file to the first volatile text: median.
// Times are those of the processor, so that a busy machine measures the same.

#include "Platform/Linux/Speech/SphinxDecoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>

namespace vorlin {

namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

struct Sentence {
    std::vector<std::int16_t> samples;
    Words words;
};

struct Setting {
    std::string name;
    DecoderSettings values;
    float gain = 1;
};

struct Measured {
    int wrong = 0;
    double cost = 0;
    std::vector<double> latencies;
    std::vector<double> partials;
};

const SpeechModel model = {"en-US", "/usr/share/pocketsphinx/model/en-us/en-us",
                           "/usr/share/pocketsphinx/model/en-us/en-us.lm.bin",
                           "/usr/share/pocketsphinx/model/en-us/cmudict-en-us.dict"};

const std::vector<Setting> settings = {
    {"chosen", SphinxDecoder::measuredSettings()},
    {"library's own", {}},
    {"noise removed", {{"-fwdflat", "no"}}},
    {"second pass", {{"-remove_noise", "no"}}},
    {"no lattice", {{"-remove_noise", "no"}, {"-fwdflat", "no"}, {"-bestpath", "no"}}},
    {"lw 8", {{"-remove_noise", "no"}, {"-fwdflat", "no"}, {"-lw", "8"}}},
    {"chosen, voice at 10 %", SphinxDecoder::measuredSettings(), 0.1F},
    {"chosen, voice at 3 %", SphinxDecoder::measuredSettings(), 0.03F},
};

double processorSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

Words wordsOf(std::string text)
{
    // The decoder's wrapper writes the pronoun as a capital, the sentences do not.
    std::ranges::transform(text, text.begin(), [](char c) { return c == 'I' ? 'i' : c; });
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

int wordErrors(const Words& from, const Words& to)
{
    std::vector<int> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (const auto& word : from) {
        int diagonal = row[0]++;
        for (std::size_t i = 0; i < to.size(); ++i) {
            const int changed = diagonal + (word == to[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({row[i + 1] + 1, row[i] + 1, changed});
        }
    }
    return row.back();
}

std::string contentOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<Sentence> sentencesIn(const fs::path& folder, const std::vector<std::string>& voices)
{
    std::vector<fs::path> files;
    for (const auto& each : fs::directory_iterator(folder)) {
        const std::string name = each.path().filename();
        const bool wanted = voices.empty() || std::ranges::any_of(voices, [&](const auto& voice) {
                                return name.starts_with(voice + "-");
                            });
        if (wanted && name.ends_with(".wav")) {
            files.push_back(each.path());
        }
    }
    std::ranges::sort(files);
    std::vector<Sentence> sentences;
    for (const auto& file : files) {
        constexpr std::size_t headerBytes = 44;
        const std::string bytes = contentOf(file);
        Sentence sentence;
        sentence.samples.resize((bytes.size() - headerBytes) / sizeof(std::int16_t));
        std::memcpy(sentence.samples.data(), bytes.data() + headerBytes,
                    sentence.samples.size() * sizeof(std::int16_t));
        sentence.words = wordsOf(contentOf(fs::path(file).replace_extension(".txt")));
        sentences.push_back(std::move(sentence));
    }
    return sentences;
}

void measure(SphinxDecoder& decoder, const Sentence& sentence, float gain, Measured& measured)
{
    constexpr std::size_t pieceSamples = 320;
    constexpr std::size_t bufferSamples = 683; // 2048 frames at 48 kHz
    auto samples = sentence.samples;
    for (auto& sample : samples) {
        sample = static_cast<std::int16_t>(static_cast<float>(sample) * gain);
    }
    const auto secondsAt = [](std::size_t at) { return static_cast<double>(at) / 16000; };
    double clock = 0;
    const auto spend = [&](double since) {
        const double spent = processorSeconds() - since;
        measured.cost += spent;
        clock += spent;
    };
    std::string text;
    bool shown = false;
    bool inSpeech = false;
    decoder.beginStream();
    for (std::size_t at = 0; at < samples.size(); at += pieceSamples) {
        const std::size_t count = std::min(pieceSamples, samples.size() - at);
        const std::size_t arrived = (at / bufferSamples + 1) * bufferSamples;
        clock = std::max(clock, secondsAt(std::min(arrived, samples.size())));
        const double begin = processorSeconds();
        decoder.decode({samples.data() + at, count});
        if (inSpeech && !decoder.inSpeech()) {
            text += decoder.endUtterance() + ' ';
        }
        inSpeech = decoder.inSpeech();
        const bool first = !shown && !decoder.hypothesis().empty();
        spend(begin);
        if (first) {
            shown = true;
            measured.partials.push_back(clock);
        }
    }
    const double begin = processorSeconds();
    text += decoder.endUtterance();
    spend(begin);
    measured.latencies.push_back(clock - secondsAt(samples.size()));
    measured.wrong += wordErrors(sentence.words, wordsOf(text));
    decoder.abandonStream();
}

double milliseconds(std::vector<double> seconds, double quantile)
{
    if (seconds.empty()) {
        return 0;
    }
    std::ranges::sort(seconds);
    const auto last = static_cast<double>(seconds.size() - 1);
    return 1000 * seconds[static_cast<std::size_t>(last * quantile)];
}

void report(const Setting& setting, const std::vector<Sentence>& sentences)
{
    Measured warm;
    Measured fresh;
    double audio = 0;
    double words = 0;
    SphinxDecoder decoder(model, setting.values);
    for (const auto& sentence : sentences) {
        measure(decoder, sentence, setting.gain, warm);
        SphinxDecoder unused(model, setting.values);
        measure(unused, sentence, setting.gain, fresh);
        audio += static_cast<double>(sentence.samples.size()) / SphinxDecoder::sampleRate;
        words += static_cast<double>(sentence.words.size());
    }
    fmt::print("| {:24} | {:5.1f} | {:5.1f} | {:4.2f} | {:3.0f} | {:4.0f} | {:4.0f} |\n",
               setting.name, 100 * warm.wrong / words, 100 * fresh.wrong / words, warm.cost / audio,
               milliseconds(warm.latencies, 0.5), milliseconds(warm.latencies, 1),
               milliseconds(warm.partials, 0.5));
    std::fflush(stdout);
}

} // namespace

} // namespace vorlin

int main(int argc, char** argv)
{
    if (argc < 2) {
        fmt::print("usage: recogniser_bench FOLDER [VOICE]...\n");
        return 2;
    }
    const auto sentences = vorlin::sentencesIn(argv[1], {argv + 2, argv + argc});
    fmt::print("| settings | WER | first | RTF | latency | worst | partial |\n");
    for (const auto& setting : vorlin::settings) {
        vorlin::report(setting, sentences);
    }
    return 0;
}
