#include "SpokenAudio.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>
#include <stdexcept>

namespace vorlin {

namespace {

constexpr std::size_t wavHeaderBytes = 44;
constexpr std::size_t framesOfABuffer = 683; // 2048 at 48 kHz

std::vector<std::string> wordsOf(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

Samples spoken(const std::string& fixture)
{
    const std::string name = std::string(VORLIN_SPEECH_FIXTURES "/") + fixture + ".wav";
    std::ifstream file(name, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() <= wavHeaderBytes) {
        throw std::runtime_error("no fixture " + name);
    }
    Samples samples((bytes.size() - wavHeaderBytes) / sizeof(std::int16_t));
    std::memcpy(samples.data(), bytes.data() + wavHeaderBytes,
                samples.size() * sizeof(std::int16_t));
    return samples;
}

Samples silence(double seconds)
{
    return Samples(static_cast<std::size_t>(seconds * 16000));
}

Samples joined(const std::vector<Samples>& parts)
{
    Samples all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

void feed(SpeechAnalyzer& analyzer, const Samples& samples)
{
    const AudioFormat format{SampleType::int16, 16000, 1, false};
    for (std::size_t at = 0; at < samples.size(); at += framesOfABuffer) {
        const std::size_t frames = std::min(framesOfABuffer, samples.size() - at);
        // More capacity than frames, as a converter's output has.
        auto buffer = std::make_shared<PCMBuffer>(format, framesOfABuffer + 64);
        buffer->setFrameLength(static_cast<std::uint32_t>(frames));
        std::memcpy(buffer->plane(0).data(), samples.data() + at, frames * sizeof(std::int16_t));
        analyzer.input(std::move(buffer));
    }
}

int wordErrors(const std::string& expected, const std::string& got)
{
    const auto from = wordsOf(expected);
    const auto to = wordsOf(got);
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

SpeechAnalyzers::OnResult Transcript::collector()
{
    return [this](const std::string& text, bool isFinal) {
        const std::scoped_lock guard(lock);
        results.push_back({text, isFinal});
    };
}

std::vector<Transcript::Result> Transcript::all() const
{
    const std::scoped_lock guard(lock);
    return results;
}

std::size_t Transcript::finals() const
{
    return static_cast<std::size_t>(std::ranges::count_if(all(), &Result::isFinal));
}

std::string Transcript::finalText() const
{
    std::string text;
    for (const auto& result : all()) {
        if (result.isFinal) {
            text += (text.empty() ? "" : " ") + result.text;
        }
    }
    return text;
}

} // namespace vorlin
