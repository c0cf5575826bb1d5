#pragma once

#include "Platform/Linux/Keys/HardwareKeys.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vorlin {

/// The modifiers of a binding, as sway's keyboards number them.
using SwayModifiers = std::uint32_t;

namespace swayModifiers {
inline constexpr SwayModifiers shift = 1U << 0U;
inline constexpr SwayModifiers control = 1U << 2U;
inline constexpr SwayModifiers alt = 1U << 3U;
inline constexpr SwayModifiers logo = 1U << 6U;
/// What AltGr sets in layouts that have one.
inline constexpr SwayModifiers third = 1U << 7U;
} // namespace swayModifiers

/// The modifier that the configuration calls `name`, whatever the case; nothing for another name.
std::optional<SwayModifiers> swayModifier(std::string_view name);

/// Every combination of the modifiers that a person may be holding, none first.
const std::array<SwayModifiers, 32>& everySwayModifiers();

/// A key, by position, with exactly these modifiers, at its press or at its release.
struct SwayBinding {
    HardwareKey key = 0;
    SwayModifiers modifiers = 0;
    bool release = false;

    auto operator<=>(const SwayBinding&) const = default;
};

/// By mode.
using SwayBindings = std::map<std::string, std::set<SwayBinding>>;

/// How many there are.
std::size_t countOf(const SwayBindings& bindings);
bool contains(const SwayBindings& bindings, const std::string& mode, const SwayBinding& binding);
void add(SwayBindings& to, const SwayBindings& more);
void remove(SwayBindings& from, const SwayBindings& those);

/// What a binding of ours does: nothing, under a name that only one process knows. sway tells the
/// name when the key is pressed.
std::string swayBindingName(const std::string& token, const SwayBinding& binding);

/// The binding that goes by `name`; nothing if it is not one of this token's.
std::optional<SwayBinding> swayBindingNamed(std::string_view name, std::string_view token);

/// How many commands one binding takes: it is made for each keyboard layout that there can be, for
/// a person's own bindings are for all of them at once. So ours and theirs are two bindings, and
/// neither takes the other's place or goes with it.
inline constexpr std::size_t commandsOfSwayBinding = 4;

/// Appends the commands that bind, or unbind. An unsuitable `mode` is one of `isSuitableSwayMode`.
void appendBind(std::string& commands, const std::string& mode, const SwayBinding& binding,
                const std::string& token);
void appendUnbind(std::string& commands, const std::string& mode, const SwayBinding& binding);

/// Whether a mode's name can be written into a command.
bool isSuitableSwayMode(std::string_view mode);

} // namespace vorlin
