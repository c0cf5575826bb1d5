#include "SpokenUtterances.h"

#include "Platform/Linux/Engine/EngineFixture.h"

#include <nlohmann/json.hpp>

#include <cstring>
#include <fstream>
#include <iterator>

namespace vorlin::test {

std::vector<float> SpokenUtterance::samples() const
{
    // A 16-bit WAV file whose data chunk comes last.
    const std::string bytes = textOf(file);
    const std::size_t data = bytes.find("data", 12) + 8;
    std::vector<std::int16_t> raw((bytes.size() - data) / 2);
    std::memcpy(raw.data(), bytes.data() + data, raw.size() * 2);
    std::vector<float> samples;
    for (const auto value : raw) {
        samples.push_back(static_cast<float>(value) / 32768.0F);
    }
    return samples;
}

std::filesystem::path tinyModel()
{
    return milFixtures() / "tiny-speech/model";
}

std::vector<SpokenUtterance> spokenUtterances()
{
    const auto folder = milFixtures() / "tiny-speech";
    std::vector<SpokenUtterance> result;
    for (const auto& each : nlohmann::json::parse(std::ifstream(folder / "utterances.json"))) {
        result.push_back({folder / each.at("file").get<std::string>(),
                          each.at("text").get<std::string>(),
                          each.at("tokens").get<std::vector<std::int64_t>>()});
    }
    return result;
}

std::vector<SpokenUtterance> severalBy(const std::string& voice)
{
    auto all = spokenUtterances();
    std::erase_if(all, [&](const SpokenUtterance& each) {
        const auto name = each.file.stem().string();
        return !name.starts_with("several-") || !name.ends_with("-" + voice);
    });
    return all;
}

} // namespace vorlin::test
