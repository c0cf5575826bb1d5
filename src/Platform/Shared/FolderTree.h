#pragma once

#include "Platform/Shared/Descriptor.h"

#include <sys/stat.h>

#include <functional>
#include <string>

namespace vorlin {

/// Calls `visit` for every item below `folder`, an open directory; what cannot be read is left
/// out. Links are items, and never followed.
void visitTree(const Descriptor& folder, const std::function<void(const struct stat&)>& visit);

/// Deletes the item `name` of `parent`, an open directory, with everything below it. Links are
/// deleted, and never followed. What cannot be deleted stays.
void removeTree(const Descriptor& parent, const std::string& name);

} // namespace vorlin
