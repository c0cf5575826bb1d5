#include "Platform/Linux/Desktop/SettingsText.h"

#include <QByteArray>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <type_traits>
#include <unordered_map>

namespace vorlin {

namespace {

using nlohmann::json;

constexpr const char* dataMember = "data";

json parsed(std::string_view text)
{
    return json::parse(text, nullptr, /*allow_exceptions=*/false);
}

std::string dumped(const json& value)
{
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<Bytes> bytesIn(const std::string& base64)
{
    const auto decoded = QByteArray::fromBase64Encoding(QByteArray::fromStdString(base64),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) {
        return std::nullopt;
    }
    return Bytes((*decoded).begin(), (*decoded).end());
}

bool isList(std::string_view json)
{
    return json.starts_with('[');
}

std::optional<DefaultsValue> typed(const json& value)
{
    if (value.is_boolean()) {
        return value.get<bool>();
    }
    if (value.is_number()) {
        return value.get<double>();
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_object() && value.size() == 1 && value.contains(dataMember) &&
        value[dataMember].is_string()) {
        return bytesIn(value[dataMember].get_ref<const std::string&>());
    }
    return std::nullopt;
}

std::string jsonOf(const DefaultsValue& value)
{
    return std::visit(
        [](const auto& held) {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, Bytes>) {
                const QByteArray bytes(reinterpret_cast<const char*>(held.data()),
                                       static_cast<qsizetype>(held.size()));
                return dumped(json{{dataMember, bytes.toBase64().toStdString()}});
            } else {
                return dumped(json(held));
            }
        },
        value);
}

} // namespace

/// Cuts the members out of a text that is known to be valid JSON.
class SettingsText::Scanner {
public:
    explicit Scanner(std::string_view text) : text(text) {}

    /// Whether the members could be cut out; they are then appended to `found`.
    bool scan(std::vector<Member>& found)
    {
        if (text.starts_with("\xEF\xBB\xBF")) { // the mark that some editors begin a file with
            position = 3;
        }
        skipSpace();
        if (!take('{')) {
            return false;
        }
        std::unordered_map<std::string, std::size_t> places;
        while (true) {
            skipSpace();
            if (!at('"')) {
                return at('}');
            }
            const auto key = parsed(string());
            skipSpace();
            if (!key.is_string() || !take(':')) {
                return false;
            }
            skipSpace();
            const auto value = this->value();
            if (!value) {
                return false;
            }
            const auto place = places.emplace(key.get<std::string>(), found.size());
            if (place.second) {
                found.push_back({place.first->first, {}});
            }
            found[place.first->second].json = *value;
            if (found.size() > maximumMembers) {
                return false;
            }
            take(',');
        }
    }

private:
    bool at(char wanted) const { return position < text.size() && text[position] == wanted; }

    bool take(char wanted)
    {
        const bool found = at(wanted);
        position += found ? 1U : 0U;
        return found;
    }

    void skipSpace() { position = std::min(text.find_first_not_of(" \t\r\n", position), end()); }

    std::size_t end() const { return text.size(); }

    /// The string that begins here, with its quotes.
    std::string_view string()
    {
        const auto begin = position++;
        while (position < end() && text[position] != '"') {
            position += text[position] == '\\' ? 2U : 1U;
        }
        position = std::min(position + 1, end());
        return text.substr(begin, position - begin);
    }

    /// The value that begins here; nothing when it is nested too deeply.
    std::optional<std::string_view> value()
    {
        const auto begin = position;
        std::size_t depth = 1; // the object around it
        while (position < end()) {
            const char here = text[position];
            if (here == '"') {
                string();
                continue;
            }
            if (depth == 1 && (here == ',' || here == '}')) {
                break;
            }
            if (here == '{' || here == '[') {
                if (++depth > maximumDepth) {
                    return std::nullopt;
                }
            } else if (here == '}' || here == ']') {
                --depth;
            }
            ++position;
        }
        auto found = text.substr(begin, position - begin);
        return found.substr(0, found.find_last_not_of(" \t\r\n") + 1);
    }

    std::string_view text;
    std::size_t position = 0;
};

std::optional<SettingsText> SettingsText::parse(std::string_view text)
{
    SettingsText settings;
    // The JSON parser takes a zero byte for the end and would overlook what follows.
    if (text.size() > maximumBytes || text.find('\0') != std::string_view::npos ||
        !json::accept(text) || !Scanner(text).scan(settings.members)) {
        return std::nullopt;
    }
    return settings;
}

std::string SettingsText::text() const
{
    std::string lines = "{";
    for (const auto& member : members) {
        lines += lines.size() == 1 ? "\n    " : ",\n    ";
        lines += dumped(json(member.key)) + ": " + member.json;
    }
    return lines + (members.empty() ? "}\n" : "\n}\n");
}

const SettingsText::Member* SettingsText::find(std::string_view key) const
{
    const auto found = std::ranges::find(members, key, &Member::key);
    return found == members.end() ? nullptr : &*found;
}

std::optional<DefaultsValue> SettingsText::value(std::string_view key) const
{
    const auto* member = find(key);
    if (member == nullptr) {
        return std::nullopt;
    }
    return isList(member->json) ? Bytes(member->json.begin(), member->json.end())
                                : typed(parsed(member->json));
}

bool SettingsText::set(const std::string& key, const std::optional<DefaultsValue>& value)
{
    const auto found = std::ranges::find(members, key, &Member::key);
    if (!value) {
        if (found == members.end()) {
            return false;
        }
        members.erase(found);
        return true;
    }
    auto json = jsonOf(*value);
    if (found == members.end()) {
        members.push_back({key, std::move(json)});
        return true;
    }
    if (found->json == json || (!isList(found->json) && this->value(key) == value)) {
        return false;
    }
    found->json = std::move(json);
    return true;
}

std::vector<std::string> SettingsText::keysThatDiffer(const SettingsText& other) const
{
    std::vector<std::string> keys;
    for (const auto& member : members) {
        const auto* counterpart = other.find(member.key);
        if (counterpart == nullptr ||
            (counterpart->json != member.json &&
             (!value(member.key) || value(member.key) != other.value(member.key)))) {
            keys.push_back(member.key);
        }
    }
    for (const auto& member : other.members) {
        if (find(member.key) == nullptr) {
            keys.push_back(member.key);
        }
    }
    return keys;
}

} // namespace vorlin
