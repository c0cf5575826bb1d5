#pragma once

#include "Hotkey.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorlin {

/// What a desktop's people call things. The program's texts stand once, where they are used, in
/// the words of the desktop it was conceived for; a desktop that calls something else replaces
/// whole texts at the place where they are shown. What is stored is never reworded.
struct Wording {
    /// How a hotkey is written.
    struct Keys {
        /// Lone modifier keys, and ordinary keys that are not called as in `Hotkey::keyNames`, by
        /// key code.
        std::map<std::uint16_t, std::string_view> names;
        /// Each modifier's flag and what stands for it before the key, in the order of writing.
        std::vector<std::pair<std::uint64_t, std::string_view>> modifiers;
    };

    std::map<std::string_view, std::string_view> texts;
    /// Nothing: as `Hotkey::label` writes it.
    std::optional<Keys> keys;
    /// The hotkeys that the settings offer, in order.
    std::vector<Hotkey> presets;
    /// The dictation key for as long as none was chosen: the first of these that will do.
    std::vector<Hotkey> defaultKeys;

    /// `text` as it is shown.
    std::string operator()(const std::string& text) const;

    /// A hotkey as it is shown.
    std::string label(const Hotkey& hotkey) const;
    /// The same, or what the desktop says that triggers it where that names another key: the
    /// person may have chosen it there.
    std::string label(const Hotkey& hotkey, const std::string& told) const;
};

/// The texts as they stand.
const Wording& plainWording();

/// What a person at a Linux desktop calls things.
const Wording& linuxWording();

} // namespace vorlin
