#pragma once

#include "Ports/Defaults.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace vorlin {

/// The folders in which models lie. All but `modelsRoot` may wait for a slow disk: never on the
/// main loop, else any thread.
class Folders {
public:
    virtual ~Folders() = default;

    /// The folder of the downloaded models, which need not exist yet.
    virtual std::filesystem::path modelsRoot() const = 0;

    /// Whether a file or folder of this name exists directly inside `folder`.
    virtual bool contains(const std::filesystem::path& folder, const std::string& name) = 0;

    /// Bytes allocated on disk by every item below `folder`; what cannot be read counts as 0.
    /// Links are counted as links, not followed.
    virtual std::uint64_t allocatedSize(const std::filesystem::path& folder) = 0;

    /// Deletes `folder`, which must lie directly below `modelsRoot`, with everything in it.
    /// Links are deleted, not followed. A failure is ignored.
    virtual void removeModel(const std::filesystem::path& folder) = 0;

    /// The bytes of a file. Fails with a `std::runtime_error` of one line: not there, not
    /// readable, no plain file, larger than `most` bytes.
    virtual Bytes read(const std::filesystem::path& file, std::size_t most) = 0;
};

} // namespace vorlin
