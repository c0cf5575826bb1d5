// The text in which proved lengths are kept: a JSON list of folders, the newest last.
#include "Parakeet/LengthFinder.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vorlin {

namespace {

using Json = nlohmann::json;

/// Folders that are remembered; a person has few.
constexpr std::size_t mostFolders = 8;

Json listOf(const std::string& text)
{
    auto list = Json::parse(text, nullptr, false);
    return list.is_array() ? list : Json::array();
}

bool names(const Json& entry, const std::string& identity)
{
    const auto found = entry.is_object() ? entry.find("files") : entry.end();
    return entry.is_object() && found != entry.end() && found->is_string() &&
           found->get<std::string>() == identity;
}

/// A length that there is, written as its samples and frames.
std::optional<ShorterLength> lengthOf(const Json& pair)
{
    if (!pair.is_array() || pair.size() != 2 || !pair[0].is_number_integer() ||
        !pair[1].is_number_integer()) {
        return std::nullopt;
    }
    const ShorterLength length{pair[0].get<std::int64_t>(), pair[1].get<std::int64_t>()};
    const auto every = everyShorterLength();
    return std::ranges::find(every, length) == every.end() ? std::nullopt : std::optional(length);
}

/// The lengths of an entry, in their order.
std::optional<ShorterLengths> lengthsOf(const Json& entry)
{
    const auto found = entry.find("lengths");
    if (found == entry.end() || !found->is_array()) {
        return std::nullopt;
    }
    ShorterLengths lengths;
    for (const auto& pair : *found) {
        const auto length = lengthOf(pair);
        if (!length || (!lengths.empty() && lengths.back().samples >= length->samples)) {
            return std::nullopt;
        }
        lengths.push_back(*length);
    }
    return lengths;
}

} // namespace

std::optional<ShorterLengths> rememberedLengths(const std::string& text,
                                                const std::string& identity)
{
    for (const auto& entry : listOf(text)) {
        if (names(entry, identity)) {
            return lengthsOf(entry);
        }
    }
    return std::nullopt;
}

std::string withLengths(const std::string& text, const std::string& identity,
                        const ShorterLengths& lengths)
{
    Json kept = Json::array();
    for (const auto& entry : listOf(text)) {
        if (!names(entry, identity)) {
            kept.push_back(entry);
        }
    }
    while (kept.size() >= mostFolders) {
        kept.erase(kept.begin());
    }
    Json pairs = Json::array();
    for (const auto& length : lengths) {
        pairs.push_back(Json::array({length.samples, length.frames}));
    }
    kept.push_back({{"files", identity}, {"lengths", std::move(pairs)}});
    return kept.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace vorlin
