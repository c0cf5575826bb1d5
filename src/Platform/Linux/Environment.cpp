#include "Platform/Linux/Environment.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace vorlin {

namespace {

std::filesystem::path homeFolder(const Environment& environment)
{
    std::filesystem::path home = environment("HOME").value_or("");
    if (home.is_absolute()) {
        return home;
    }
    const auto* account = ::getpwuid(::getuid()); // NOLINT(concurrency-mt-unsafe): at start
    return account != nullptr && account->pw_dir != nullptr ? account->pw_dir : "/";
}

} // namespace

Environment processEnvironment()
{
    return [](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): never changed
        return value == nullptr ? std::nullopt : std::optional<std::string>(value);
    };
}

std::filesystem::path configurationFolder(const Environment& environment)
{
    std::filesystem::path folder = environment("XDG_CONFIG_HOME").value_or("");
    return folder.is_absolute() ? folder : homeFolder(environment) / ".config";
}

std::filesystem::path dataFolder(const Environment& environment)
{
    std::filesystem::path folder = environment("XDG_DATA_HOME").value_or("");
    return folder.is_absolute() ? folder : homeFolder(environment) / ".local" / "share";
}

std::filesystem::path settingsPath(const Environment& environment)
{
    return configurationFolder(environment) / "Vorlin" / "settings.json";
}

std::filesystem::path statePath(const Environment& environment)
{
    std::filesystem::path folder = environment("XDG_STATE_HOME").value_or("");
    if (!folder.is_absolute()) {
        folder = homeFolder(environment) / ".local" / "state";
    }
    return folder / "Vorlin" / "state.json";
}

std::filesystem::path modelsFolder(const Environment& environment)
{
    return dataFolder(environment) / "Vorlin" / "Models";
}

std::vector<std::filesystem::path> speechModelFolders(const Environment& environment)
{
    return {dataFolder(environment) / "Vorlin" / "Speech", "/usr/share/pocketsphinx/model"};
}

} // namespace vorlin
