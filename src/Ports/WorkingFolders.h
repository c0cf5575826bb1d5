#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace vorlin {

/// Why something could not be written to a disk; `what()` is one line for a person.
class DiskError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;

    /// With the line for a disk that has no room left.
    static DiskError full();
    /// With the line for a refusal; `reason` in a few words, without a full stop.
    static DiskError refused(const std::string& reason);
};

/// A new file that is being written. Any thread that may wait for a disk, one at a time. Fails
/// with `DiskError`.
class WritableFile {
public:
    virtual ~WritableFile() = default;

    virtual void append(std::span<const std::byte> bytes) = 0;
    /// Takes back everything that was written.
    virtual void clear() = 0;
    /// What was written is on the disk when this returns. The last call.
    virtual void sync() = 0;
};

/// A folder that is made beside another one, filled, and put in its place whole. Every call may
/// wait without end for a disk: only in what `Workers::runPatiently` runs, which holds a share of
/// this object. Any such threads, also several at a time. What fails throws `DiskError`.
class WorkingFolder {
public:
    virtual ~WorkingFolder() = default;

    /// Deletes what an earlier one left and makes the folder, empty, with the folders above it.
    virtual void create() = 0;

    /// Makes a file that is not there yet, and the folders above it. `path` is relative, its parts
    /// separated by "/". Refuses every path that leads out of the folder, and never follows a link.
    virtual std::shared_ptr<WritableFile> createFile(const std::string& path) = 0;

    /// Bytes that can still be written to the disk.
    virtual std::uint64_t freeSpace() = 0;

    /// Puts the folder where it belongs, in one step and for good once it is on the disk, then
    /// deletes what lay there. Fails and changes nothing when something in it is not on the disk.
    virtual void moveIntoPlace() = 0;

    /// Deletes the folder with all that is in it, as far as that can be done, unless it is in its
    /// place. Every later call but this one fails.
    virtual void discard() = 0;
};

/// Where models are put together.
class WorkingFolders {
public:
    virtual ~WorkingFolders() = default;

    /// The working folder for the model folder `destination`: beside it, with ".partial" behind its
    /// name. Touches no disk. Any thread.
    virtual std::shared_ptr<WorkingFolder> beside(const std::filesystem::path& destination) = 0;
};

} // namespace vorlin
