#include "Wording.h"

namespace vorlin {

using namespace eventFlags;

namespace {

const std::map<std::string_view, std::string_view> linuxTexts = {
    {"Apple Speech", "Built-in Speech"},
    {"Built into macOS. Shows your words live as you speak, with nothing to download.",
     "Comes with your computer. Shows your words live as you speak, with nothing to download."},
    {"7 languages", "Installed languages"},
    {"Language (Apple Speech)", "Language (Built-in Speech)"},
    {"Show in Finder", "Show in Files"},
    {"Folder on this Mac", "Folder on this computer"},
    {"Models run entirely on your Mac. Downloads come straight from Hugging Face when you ask for "
     "them, and can be removed at any time. Parakeet transcribes when you release the key, in "
     "seconds.",
     "Models run entirely on your computer. Downloads come straight from Hugging Face when you "
     "ask for them, and can be removed at any time. Parakeet transcribes when you release the "
     "key, in seconds."},
    {"Vorlin never records unless you hold the dictation key, and audio never leaves your Mac.",
     "Vorlin never records unless you hold the dictation key, and audio never leaves your "
     "computer."},
    {"Private voice dictation. Everything runs on your Mac: no account, no cloud.",
     "Private voice dictation. Everything runs on your computer: no account, no cloud."},
    {"Hold the key while you speak and release to insert the text, or switch to press once to "
     "start and again to stop. Choose a single modifier key, or click the key box and press any "
     "combination such as ⌥ Space or F5.",
     "Hold the key while you speak and release to insert the text, or switch to press once to "
     "start and again to stop. Choose a single modifier key, or click the key box and press any "
     "combination such as Alt+Space or F5."},
    {"Add ⌘, ⌥, ⌃ or ⇧ — or use a function key.",
     "Add Super, Alt, Ctrl or Shift — or use a function key."},
};

const Wording::Keys linuxKeys = {
    .names = {{54, "Right Super"},
              {55, "Left Super"},
              {58, "Left Alt"},
              {61, "Right Alt"},
              {59, "Left Ctrl"},
              {62, "Right Ctrl"},
              {56, "Left Shift"},
              {60, "Right Shift"},
              {63, "Fn"},
              {51, "Backspace"}},
    .modifiers = {{maskControl, "Ctrl+"},
                  {maskAlternate, "Alt+"},
                  {maskShift, "Shift+"},
                  {maskCommand, "Super+"}},
};

} // namespace

std::string Wording::operator()(const std::string& text) const
{
    const auto found = texts.find(text);
    return found == texts.end() ? text : std::string(found->second);
}

std::string Wording::label(const Hotkey& hotkey) const
{
    if (!keys) {
        return hotkey.label();
    }
    std::string text;
    if (!hotkey.modifierOnly) {
        for (const auto& [mask, name] : keys->modifiers) {
            if ((hotkey.modifiers & mask) != 0) {
                text += name;
            }
        }
    }
    const auto found = keys->names.find(hotkey.keyCode);
    // Only a modifier's name tells the two kinds apart.
    const bool named = found != keys->names.end() &&
                       Hotkey::modifierNames.contains(hotkey.keyCode) == hotkey.modifierOnly;
    return text + (named ? std::string(found->second)
                         : Hotkey{hotkey.keyCode, 0, hotkey.modifierOnly}.label());
}

std::string Wording::label(const Hotkey& hotkey, const std::string& told) const
{
    const auto own = label(hotkey);
    const auto at = told.find(own);
    const char after = at == std::string::npos ? '0' : told.c_str()[at + own.size()];
    const bool isOwn = after < '0' || after > '9'; // F1 is no F12
    return told.empty() || isOwn ? own : told;
}

const Wording& plainWording()
{
    static const Wording wording{
        {}, std::nullopt, {Hotkey::presets.begin(), Hotkey::presets.end()}, {Hotkey{}}};
    return wording;
}

const Wording& linuxWording()
{
    static const Wording wording{linuxTexts,
                                 linuxKeys,
                                 {{keyCodes::rightOption, 0, true},
                                  {keyCodes::rightControl, 0, true},
                                  {keyCodes::rightCommand, 0, true},
                                  {keyCodes::space, maskAlternate, false}},
                                 {{keyCodes::rightOption, 0, true},
                                  {keyCodes::rightControl, 0, true},
                                  {keyCodes::f9, 0, false}}};
    return wording;
}

} // namespace vorlin
