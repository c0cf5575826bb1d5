#include "Models/HubListing.h"

#include "Models/ModelFolder.h"
#include "Ports/URLError.h"

#include <nlohmann/json.hpp>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>

namespace vorlin {

namespace {

using nlohmann::json;

/// A model has some twenty files, and the largest known has less than a gigabyte.
constexpr std::size_t mostFiles = 1000;
constexpr std::int64_t largestModel = std::int64_t(1) << 40U;
constexpr int deepestValue = 16;
/// What common file systems take.
constexpr std::size_t longestPart = 255;
constexpr std::size_t longestPath = 1000;

[[noreturn]] void refuse(const std::string& what)
{
    throw URLError(URLError::Code::badServerResponse,
                   "The model hub's list of files cannot be used: " + what + ".");
}

const std::string& text(const json& entry, const char* key)
{
    const auto found = entry.find(key);
    if (found == entry.end() || !found->is_string()) {
        throw URLError(URLError::Code::badServerResponse);
    }
    return found->get_ref<const std::string&>();
}

std::optional<std::int64_t> sizeIn(const json& entry)
{
    const auto found = entry.find("size");
    if (found == entry.end() || found->is_null()) {
        return std::nullopt;
    }
    const bool fits =
        found->is_number_integer() &&
        (!found->is_number_unsigned() || found->get<std::uint64_t>() <= std::uint64_t(INT64_MAX));
    if (!fits) {
        refuse("a file has a size that is no number of bytes");
    }
    return found->get<std::int64_t>();
}

bool isBelow(std::string_view path, std::string_view name)
{
    return path.size() > name.size() && path.starts_with(name) && path[name.size()] == '/';
}

bool belongsTo(std::string_view path, std::string_view name)
{
    return path == name || isBelow(path, name);
}

bool isWanted(const HubItem& item)
{
    return item.type == "file" && std::ranges::any_of(modelFiles, [&item](auto name) {
               return belongsTo(item.path, name);
           });
}

/// The path without differences that some file system does not make: case, composed characters.
std::string folded(const std::string& path)
{
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> text(
        utf8proc_NFKC_Casefold(reinterpret_cast<const utf8proc_uint8_t*>(path.c_str())),
        &std::free);
    if (!text) {
        refuse("the name " + shown(path) + " is no text");
    }
    return reinterpret_cast<const char*>(text.get());
}

void checkParts(const std::string& path)
{
    const bool longer = path.size() > longestPath;
    std::size_t begin = 0;
    while (!longer && begin <= path.size()) {
        const auto end = std::min(path.find('/', begin), path.size());
        const auto part = path.substr(begin, end - begin);
        const bool controls = std::ranges::any_of(
            part, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
        if (!isSingleName(part) || controls || part.find('\\') != std::string::npos ||
            part.size() > longestPart) {
            break;
        }
        begin = end + 1;
    }
    if (begin <= path.size()) {
        refuse("the name " + shown(path) + " is not allowed");
    }
}

/// The places that files and the folders above them take; none may meet another.
class Places {
public:
    void take(const std::string& path)
    {
        checkParts(path);
        if (!files.insert(folded(path)).second) {
            refuse(shown(path) + " stands there twice");
        }
        for (auto end = path.find('/'); end != std::string::npos; end = path.find('/', end + 1)) {
            const std::string folder = path.substr(0, end);
            const auto [place, isNew] = folders.emplace(folded(folder), folder);
            if (!isNew && place->second != folder) {
                refuse(shown(folder) + " stands there in two spellings");
            }
        }
    }

    void checkFilesAgainstFolders() const
    {
        for (const auto& [place, folder] : folders) {
            if (files.contains(place)) {
                refuse(shown(folder) + " is both a file and a folder");
            }
        }
    }

private:
    std::set<std::string> files;
    /// By their folded paths.
    std::map<std::string, std::string> folders;
};

} // namespace

std::string shown(const std::string& path)
{
    constexpr std::size_t most = 60;
    std::string text = path.substr(0, most);
    std::ranges::replace_if(
        text, [](unsigned char byte) { return byte < 0x20 || byte > 0x7E; }, '?');
    return text + (path.size() > most ? "…" : "");
}

std::vector<HubItem> decodeListing(std::string_view text)
{
    // The parser would take a raw NUL byte for the end.
    if (text.size() > largestListing || text.find('\0') != std::string_view::npos) {
        throw URLError(URLError::Code::badServerResponse);
    }
    // What is nested deeper than any list takes much memory for little text.
    const auto shallow = [](int depth, json::parse_event_t /*event*/, json& /*value*/) {
        return depth <= deepestValue ? true : throw URLError(URLError::Code::badServerResponse);
    };
    const json list = json::parse(text, shallow, false);
    if (!list.is_array()) {
        throw URLError(URLError::Code::badServerResponse);
    }
    std::vector<HubItem> items;
    for (const json& entry : list) {
        if (!entry.is_object()) {
            throw URLError(URLError::Code::badServerResponse);
        }
        items.push_back({vorlin::text(entry, "type"), vorlin::text(entry, "path"), sizeIn(entry)});
    }
    return items;
}

std::vector<std::string> missingNames(const std::vector<HubItem>& items)
{
    std::vector<std::string> missing;
    for (const auto name : modelFiles) {
        if (std::ranges::none_of(items,
                                 [name](const auto& item) { return belongsTo(item.path, name); })) {
            missing.emplace_back(name);
        }
    }
    return missing;
}

std::vector<HubItem> selectedFiles(const std::vector<HubItem>& items)
{
    std::vector<HubItem> files;
    std::ranges::copy_if(items, std::back_inserter(files), isWanted);
    if (files.size() > mostFiles) {
        refuse("it names more files than a model has");
    }
    Places places;
    std::int64_t total = 0;
    for (const auto& file : files) {
        places.take(file.path);
        const auto size = file.size.value_or(0);
        if (size < 0 || size > largestModel) {
            refuse(shown(file.path) + " has a size that cannot be true");
        }
        total += size;
    }
    if (total > largestModel) {
        refuse("its files have sizes that cannot be true");
    }
    places.checkFilesAgainstFolders();
    return files;
}

std::int64_t totalSize(const std::vector<HubItem>& files)
{
    std::int64_t total = 0;
    for (const auto& file : files) {
        total += file.size.value_or(0);
    }
    return std::max<std::int64_t>(total, 1);
}

} // namespace vorlin
