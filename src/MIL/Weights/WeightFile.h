#pragma once

#include "MIL/LinksOut.h"
#include "MIL/Tensor.h"
#include "MIL/Weights/MappedFile.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <span>
#include <string>

namespace vorlin::mil {

/// Finds the payload of the record at `offset` in a weight file's bytes, and checks all that the
/// record claims: header and version, sentinel, element type, bounds, and that it holds exactly
/// the elements of `type`. `file` names the file in messages. Throws Error.
std::span<const std::byte> findRecord(std::span<const std::byte> file, std::uint64_t offset,
                                      const TensorType& type, const std::string& name);

/// The weight files of one bundle, each mapped once.
class WeightFiles {
public:
    WeightFiles(std::filesystem::path bundle, LinksOut linksOut);

    /// The payload of a record. `path` is as the text writes it, `@model_path/` in front or not;
    /// it must stay inside the bundle, through symbolic links only if those may lead out. The
    /// bytes live as long as this object and are aligned as the file aligns them. Throws Error.
    std::span<const std::byte> record(const std::string& path, std::uint64_t offset,
                                      const TensorType& type);

    /// See `MappedFile::readIn`, of all files.
    void readIn(const std::atomic<bool>& stop) const;

    /// Bytes of all files mapped so far.
    std::size_t mappedBytes() const;

private:
    const MappedFile& open(const std::string& path);

    const std::filesystem::path bundle;
    const LinksOut linksOut;
    std::map<std::string, MappedFile> files;
};

} // namespace vorlin::mil
