#pragma once

#include "Ports/Defaults.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// The text of a settings file: one JSON object. What it does not understand it keeps to the
/// byte: values of unknown shapes, numbers of any size, the order of the keys. A value type.
class SettingsText {
public:
    /// Limits beyond which a text is taken for damaged.
    static constexpr std::size_t maximumBytes = std::size_t{8} << 20U;
    static constexpr std::size_t maximumMembers = 4096;
    static constexpr std::size_t maximumDepth = 64;

    /// The settings in `text`, which nobody vouches for; nothing when it is not one JSON object
    /// within the limits. Of a key that occurs twice the last value counts.
    static std::optional<SettingsText> parse(std::string_view text);

    /// The whole file, one key a line.
    std::string text() const;

    /// A number, boolean or string, or the bytes of {"data": "<base64>"}, or those of a list as it
    /// stands there, for a person who writes one; nothing when the key is absent or holds
    /// anything else.
    std::optional<DefaultsValue> value(std::string_view key) const;

    /// Stores `value`, or removes the key when given nothing. Returns false when that changes
    /// nothing; a list that is stored as the bytes it was read as becomes data. Text that is not
    /// UTF-8 has the wrong bytes replaced; a number that is not finite reads as nothing.
    bool set(const std::string& key, const std::optional<DefaultsValue>& value);

    /// The keys whose values differ in `other`, absent ones included.
    std::vector<std::string> keysThatDiffer(const SettingsText& other) const;

    bool operator==(const SettingsText&) const = default;

private:
    struct Member {
        std::string key;
        /// The value as it stands in the file.
        std::string json;

        bool operator==(const Member&) const = default;
    };

    class Scanner;

    const Member* find(std::string_view key) const;

    std::vector<Member> members;
};

} // namespace vorlin
