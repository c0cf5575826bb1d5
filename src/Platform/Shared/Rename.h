#pragma once

#include "Platform/Shared/Descriptor.h"

#include <string>

namespace vorlin {

/// What a rename does with an item that is there already.
enum class Existing {
    /// Fails.
    refuse,
    /// Puts it where the other one was.
    exchange,
    /// Takes its place, where the system allows it.
    replace,
};

/// Moves the item `name` of the folder `from` to the folder `to`, under the name `next`, in one
/// step. Returns whether it did; `errno` says why not: EINVAL, ENOSYS or ENOTSUP where the file
/// system cannot do it in this way.
bool renameItem(const Descriptor& from, const std::string& name, const Descriptor& to,
                const std::string& next, Existing existing);

} // namespace vorlin
