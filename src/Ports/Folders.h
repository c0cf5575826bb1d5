#pragma once

#include "Ports/Defaults.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// The folders in which models lie. All but `modelsRoot` may wait without end for a disk that does
/// not answer: only in what `Workers::runPatiently` runs, which holds a share of this object. Any
/// such thread.
class Folders {
public:
    virtual ~Folders() = default;

    /// The folder of the downloaded models, which need not exist yet.
    virtual std::filesystem::path modelsRoot() const = 0;

    /// Makes `modelsRoot`, with the folders above it, where it does not exist. A failure is
    /// ignored.
    virtual void makeModelsRoot() = 0;

    /// Why the file or folder of this name directly inside `folder` cannot be used, in a few
    /// words: no words when it does not exist. Nothing when it can be used, as far as that is
    /// known without reading it.
    virtual std::optional<std::string> whyUnusable(const std::filesystem::path& folder,
                                                   const std::string& name) = 0;

    /// Bytes allocated on disk by every item below `folder`; what cannot be read counts as 0.
    /// Links are counted as links, not followed.
    virtual std::uint64_t allocatedSize(const std::filesystem::path& folder) = 0;

    /// What tells the files below `folder` from those of another time: their names, sizes and
    /// times of change. Empty where that is not known.
    virtual std::string identity(const std::filesystem::path& folder)
    {
        (void)folder;
        return {};
    }

    /// Deletes `folder`, which must lie directly below `modelsRoot`, with everything in it. It
    /// leaves its place first, whole: however this ends, no part of it counts as a model. Links are
    /// deleted, not followed. A failure is ignored.
    virtual void removeModel(const std::filesystem::path& folder) = 0;

    /// The bytes of a file; `onProgress` is called each time some have come. Fails with a
    /// `std::runtime_error` of one line: not there, not readable, no plain file, larger than
    /// `most` bytes.
    virtual Bytes read(const std::filesystem::path& file, std::size_t most,
                       const std::function<void()>& onProgress) = 0;
};

} // namespace vorlin
