#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The value of an environment variable; nothing when it is unset.
using Environment = std::function<std::optional<std::string>(const char* name)>;

/// The environment of this process. Not to be used while another thread changes it.
Environment processEnvironment();

/// The person's configuration folder: $XDG_CONFIG_HOME, or ~/.config when that is unset, empty
/// or relative. The home folder is $HOME, or the account's when that is unset or relative.
std::filesystem::path configurationFolder(const Environment& environment);

/// The person's data folder: $XDG_DATA_HOME, or ~/.local/share, in the same way.
std::filesystem::path dataFolder(const Environment& environment);

/// Where the settings are stored: Vorlin/settings.json in the configuration folder.
std::filesystem::path settingsPath(const Environment& environment);

/// Where what the program noticed by itself is stored: Vorlin/state.json in $XDG_STATE_HOME, or in
/// ~/.local/state, in the same way.
std::filesystem::path statePath(const Environment& environment);

/// Where the downloaded models lie: Vorlin/Models in the data folder. It need not exist.
std::filesystem::path modelsFolder(const Environment& environment);

/// Where the recogniser's models lie: the person's own folder, then the system's.
std::vector<std::filesystem::path> speechModelFolders(const Environment& environment);

} // namespace vorlin
