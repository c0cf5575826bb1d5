// Usage: bench_recogniser FOLDER [--voice GROUP]... [--settings "-name value ..."]...
// Decodes the recordings that recordings.sh made in FOLDER (of the groups named, or all), as fast
// as it can, with each settings (or a list of them), and prints for each
//   row       words wrong, one recording after the other with one decoder, from its first;
//   first     the same, each with a decoder just loaded (a morning's first dictation);
//   RTF       processor seconds for each second of audio;
//   wait      milliseconds from the last sample to the final text, had the audio come in real
//             time: median and worst;
//   slow      the worst wait on a machine that needs thrice the processor time.
// Times are those of the processor, so that a busy machine measures nearly the same; compare
// those of one run. Fails if the program's own settings get more words wrong than when they were
// chosen; words depend on no machine.

#include "Platform/Linux/Speech/SphinxDecoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <numeric>
#include <sstream>

namespace vorlin {

namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

struct Recording {
    std::vector<std::int16_t> samples;
    Words words;
};

/// By group: "kal16" of kal16-01.wav.
using Recordings = std::map<std::string, std::vector<Recording>>;

/// What decoding a recording took.
struct Decoded {
    int wrong = 0;
    double audioSeconds = 0;
    /// When the audio of each piece had arrived, and the processor's seconds for it.
    std::vector<std::pair<double, double>> pieces;
    /// For the end of the last utterance.
    double ending = 0;
};

const SpeechModel model = {"en-US", "/usr/share/pocketsphinx/model/en-us/en-us",
                           "/usr/share/pocketsphinx/model/en-us/en-us.lm.bin",
                           "/usr/share/pocketsphinx/model/en-us/cmudict-en-us.dict"};

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

Recordings recordingsIn(const fs::path& folder, const std::vector<std::string>& groups)
{
    std::vector<fs::path> files;
    for (const auto& each : fs::directory_iterator(folder)) {
        if (each.path().extension() == ".wav") {
            files.push_back(each.path());
        }
    }
    std::ranges::sort(files);
    Recordings recordings;
    for (const auto& file : files) {
        const std::string name = file.stem();
        const std::string group = name.substr(0, name.rfind('-'));
        if (!groups.empty() && std::ranges::find(groups, group) == groups.end()) {
            continue;
        }
        constexpr std::size_t headerBytes = 44;
        const std::string bytes = contentOf(file);
        Recording recording;
        recording.samples.resize((bytes.size() - headerBytes) / sizeof(std::int16_t));
        std::memcpy(recording.samples.data(), bytes.data() + headerBytes,
                    recording.samples.size() * sizeof(std::int16_t));
        recording.words = wordsOf(contentOf(fs::path(file).replace_extension(".txt")));
        recordings[group].push_back(std::move(recording));
    }
    return recordings;
}

Decoded decode(SphinxDecoder& decoder, const Recording& recording)
{
    constexpr std::size_t pieceSamples = 320;
    constexpr std::size_t bufferSamples = 683; // 2048 frames at 48 kHz
    const auto& samples = recording.samples;
    const auto secondsAt = [](std::size_t at) {
        return static_cast<double>(at) / SphinxDecoder::sampleRate;
    };
    Decoded decoded;
    decoded.audioSeconds = secondsAt(samples.size());
    std::string text;
    bool inSpeech = false;
    decoder.beginStream();
    for (std::size_t at = 0; at < samples.size(); at += pieceSamples) {
        const std::size_t count = std::min(pieceSamples, samples.size() - at);
        const std::size_t arrived = ((at + count - 1) / bufferSamples + 1) * bufferSamples;
        const double begin = processorSeconds();
        decoder.decode({samples.data() + at, count});
        if (inSpeech && !decoder.inSpeech()) {
            text += decoder.endUtterance() + ' ';
        }
        inSpeech = decoder.inSpeech();
        decoder.hypothesis();
        decoded.pieces.emplace_back(secondsAt(std::min(arrived, samples.size())),
                                    processorSeconds() - begin);
    }
    const double begin = processorSeconds();
    text += decoder.endUtterance();
    decoded.ending = processorSeconds() - begin;
    decoded.wrong = wordErrors(recording.words, wordsOf(text));
    decoder.abandonStream();
    return decoded;
}

double cost(const Decoded& decoded)
{
    return std::accumulate(decoded.pieces.begin(), decoded.pieces.end(), decoded.ending,
                           [](double sum, const auto& piece) { return sum + piece.second; });
}

/// Milliseconds from the last sample to the text, on a machine `slowness` times as slow.
double wait(const Decoded& decoded, double slowness)
{
    double clock = 0;
    for (const auto& [arrived, spent] : decoded.pieces) {
        clock = std::max(clock, arrived) + spent * slowness;
    }
    return 1000 * (clock + decoded.ending * slowness - decoded.audioSeconds);
}

/// In a row, two more than were measured: so many are no difference.
const std::map<std::string, int> mostWrong{{"read", 20}, {"read-20dB", 21}, {"read-room20", 30}};

/// Prints the line of a group; returns how many words are wrong, one recording after the other.
int report(const std::string& group, const std::vector<Recording>& recordings,
           const DecoderSettings& settings, SphinxDecoder& fresh,
           const std::vector<float>& unlearnt)
{
    int wrong = 0;
    int wrongFirst = 0;
    std::size_t words = 0;
    double audio = 0;
    double spent = 0;
    std::vector<double> waits;
    double slowest = 0;
    SphinxDecoder row(model, settings);
    for (const auto& recording : recordings) {
        const auto decoded = decode(row, recording);
        fresh.adopt(unlearnt);
        wrongFirst += decode(fresh, recording).wrong;
        wrong += decoded.wrong;
        words += recording.words.size();
        audio += decoded.audioSeconds;
        spent += cost(decoded);
        waits.push_back(wait(decoded, 1));
        slowest = std::max(slowest, wait(decoded, 3));
    }
    std::ranges::sort(waits);
    fmt::print("| {:12} | {:3} | {:3} | {:3} | {:4.2f} | {:3.0f} | {:4.0f} | {:4.0f} |\n", group,
               words, wrong, wrongFirst, spent / audio, waits[waits.size() / 2], waits.back(),
               slowest);
    std::fflush(stdout);
    return wrong;
}

DecoderSettings parse(const std::string& text)
{
    std::istringstream stream(text);
    DecoderSettings settings;
    for (std::string name, value; stream >> name >> value;) {
        settings.emplace_back(name, value);
    }
    return settings;
}

std::string textOf(const DecoderSettings& settings)
{
    std::string text;
    for (const auto& [name, value] : settings) {
        text += name + ' ' + value + ' ';
    }
    return text.empty() ? "the library's own" : text;
}

int run(const std::vector<std::string>& arguments)
{
    std::vector<std::string> groups;
    std::vector<DecoderSettings> all;
    for (std::size_t i = 1; i + 1 < arguments.size(); i += 2) {
        if (arguments[i] == "--voice") {
            groups.push_back(arguments[i + 1]);
        } else {
            all.push_back(parse(arguments[i + 1]));
        }
    }
    if (all.empty()) {
        all = {SphinxDecoder::measuredSettings(), {}};
    }
    const auto recordings = recordingsIn(arguments.front(), groups);
    int status = 0;
    for (const auto& settings : all) {
        fmt::print("{}\n| group | words | row | first | RTF | wait | worst | slow |\n",
                   textOf(settings));
        SphinxDecoder fresh(model, settings);
        const auto unlearnt = fresh.learnt();
        for (const auto& [group, ofGroup] : recordings) {
            const int wrong = report(group, ofGroup, settings, fresh, unlearnt);
            const auto most = mostWrong.find(group);
            if (settings == SphinxDecoder::measuredSettings() && most != mostWrong.end() &&
                wrong > most->second) {
                fmt::print("{}: at most {} words may be wrong\n", group, most->second);
                status = 1;
            }
        }
    }
    return status;
}

} // namespace

} // namespace vorlin

int main(int argc, char** argv)
{
    if (argc < 2) {
        fmt::print("usage: bench_recogniser FOLDER [--voice GROUP]... [--settings TEXT]...\n");
        return 2;
    }
    return vorlin::run({argv + 1, argv + argc});
}
