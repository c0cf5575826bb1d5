#pragma once

#include "Models/SpeechEngines.h"
#include "fakes/FakeTranscriber.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// Engines that only note what was asked of them.
class FakeSpeechEngines final : public SpeechEngines {
public:
    /// What was asked, in order: "local FOLDER", "platform LOCALE", "warm FOLDER", "unload".
    std::vector<std::string> asked;

    std::shared_ptr<Transcriber> local(const std::filesystem::path& folder) override
    {
        return made("local " + folder.string());
    }
    std::shared_ptr<Transcriber> platform(const std::string& locale) override
    {
        return made("platform " + locale);
    }
    void warm(const std::filesystem::path& folder) override
    {
        asked.push_back("warm " + folder.string());
    }
    void unload() override { asked.emplace_back("unload"); }

private:
    std::shared_ptr<Transcriber> made(const std::string& what)
    {
        asked.push_back(what);
        return std::make_shared<FakeTranscriber>();
    }
};

} // namespace vorlin
