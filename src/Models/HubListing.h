#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// One entry of the hub's list of a repository's files.
struct HubItem {
    /// "file" for a file.
    std::string type;
    /// From the repository's top, its parts separated by "/".
    std::string path;
    /// In bytes, as the hub says.
    std::optional<std::int64_t> size;

    bool operator==(const HubItem&) const = default;
};

/// `path` as a person is shown it: plain characters on one line, and not too many of them.
std::string shown(const std::string& path);

/// The most bytes that a list may have.
inline constexpr std::size_t largestListing = 4U << 20U;

/// The entries of a list. Fails with `URLError::Code::badServerResponse` unless `json` is an array
/// of objects that have a "type" and a "path" of text, and no "size", null or a whole number of
/// 64 bits. Keys of no meaning to us are ignored.
std::vector<HubItem> decodeListing(std::string_view json);

/// The required names, in their order, that no entry is called by or lies below.
std::vector<std::string> missingNames(const std::vector<HubItem>& items);

/// The files that a model is made of, in the order of the list. Fails with
/// `URLError::Code::badServerResponse` when one of them could land anywhere but at a place of its
/// own inside the model's folder, on any file system, or has a size that cannot be true.
std::vector<HubItem> selectedFiles(const std::vector<HubItem>& items);

/// The bytes of all `files` as far as they are known, but at least 1.
std::int64_t totalSize(const std::vector<HubItem>& files);

} // namespace vorlin
