#pragma once

#include "Platform/Shared/Descriptor.h"

#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>

namespace vorlin {

/// Calls `visit` for every item below `folder`, an open directory; what cannot be read is left
/// out. Links are items, and never followed.
void visitTree(const Descriptor& folder, const std::function<void(const struct stat&)>& visit);

/// Deletes the item `name` of `parent`, an open directory, with everything below it. Links are
/// deleted, and never followed. What cannot be deleted stays.
void removeTree(const Descriptor& parent, const std::string& name);

/// A folder, opened to look into it; none when it cannot be.
Descriptor openFolder(const std::filesystem::path& folder);

/// What a download's working folder has behind the model folder's name.
constexpr const char* partialEnding = ".partial";

/// Deletes the item `name` of `parent` as `removeTree` does, and its working folder, which has the
/// ending behind the name. It leaves its place first, whole, and becomes the working folder: the
/// process may end before the last file is gone, and the rest must not count as a model.
void removeWhole(const Descriptor& parent, const std::string& name);

} // namespace vorlin
