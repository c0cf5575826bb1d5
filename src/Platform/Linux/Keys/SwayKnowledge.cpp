#include "Platform/Linux/Keys/SwayKnowledge.h"

#include "Platform/Linux/Keys/X11Keymap.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>

#include <xkbcommon/xkbcommon.h>
#include <xkbcommon/xkbregistry.h>

namespace vorlin {

namespace {

template <class T, void (*unref)(T*)>
struct Unref {
    void operator()(T* pointer) const { unref(pointer); }
};
using Context = std::unique_ptr<xkb_context, Unref<xkb_context, xkb_context_unref>>;
using Keymap = std::unique_ptr<xkb_keymap, Unref<xkb_keymap, xkb_keymap_unref>>;

constexpr HardwareKey modifierKeys[] = {hardwareKeys::leftControl, hardwareKeys::rightControl,
                                        hardwareKeys::leftShift,   hardwareKeys::rightShift,
                                        hardwareKeys::leftAlt,     hardwareKeys::rightAlt,
                                        hardwareKeys::leftSuper,   hardwareKeys::rightSuper};

const char* orEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

Keymap compile(xkb_context* context, const char* layout, const char* variant)
{
    const xkb_rule_names names{nullptr, nullptr, layout, variant, nullptr};
    return Keymap(xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

/// The layouts of these descriptions, which are all that is told of them.
std::vector<Keymap> compile(xkb_context* context, const std::set<std::string>& descriptions)
{
    std::vector<Keymap> keymaps;
    if (descriptions.empty()) {
        return keymaps;
    }
    const std::unique_ptr<rxkb_context, decltype(&rxkb_context_unref)> registry(
        rxkb_context_new(RXKB_CONTEXT_NO_FLAGS), rxkb_context_unref);
    if (!registry || !rxkb_context_parse(registry.get(), "evdev")) {
        return keymaps;
    }
    for (auto* layout = rxkb_layout_first(registry.get()); layout != nullptr;
         layout = rxkb_layout_next(layout)) {
        if (descriptions.contains(orEmpty(rxkb_layout_get_description(layout)))) {
            if (auto keymap = compile(context, rxkb_layout_get_name(layout),
                                      rxkb_layout_get_variant(layout))) {
                keymaps.push_back(std::move(keymap));
            }
        }
    }
    return keymaps;
}

/// By symbol: the keys that type it, and what else is held then.
using Places = std::multimap<xkb_keysym_t, std::pair<HardwareKey, SwayModifiers>>;

Places placesIn(const std::vector<Keymap>& keymaps)
{
    Places places;
    for (const auto& keymap : keymaps) {
        for (unsigned key = 9; key < 256; ++key) {
            const auto layouts = xkb_keymap_num_layouts_for_key(keymap.get(), key);
            for (xkb_layout_index_t layout = 0; layout < layouts; ++layout) {
                for (xkb_level_index_t level = 0; level < 2; ++level) {
                    const xkb_keysym_t* symbols = nullptr;
                    const int count = xkb_keymap_key_get_syms_by_level(keymap.get(), key, layout,
                                                                       level, &symbols);
                    for (int at = 0; at < count; ++at) {
                        places.insert({symbols[at],
                                       {static_cast<HardwareKey>(key),
                                        level == 0 ? 0 : swayModifiers::shift}});
                    }
                }
            }
        }
    }
    return places;
}

} // namespace

SwayKnowledge SwayKnowledge::of(const SwayFacts& facts)
{
    SwayKnowledge knowledge;
    const auto own = swayOwnBindings(facts.configuration, readSwayIncludes);
    const Context context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    auto keymaps = context ? compile(context.get(), facts.layouts) : std::vector<Keymap>();
    for (const auto& keymap : keymaps) {
        const X11Keymap map(keymap.get());
        std::ranges::copy_if(modifierKeys,
                             std::inserter(knowledge.chooseLevel, knowledge.chooseLevel.end()),
                             [&](HardwareKey key) { return map.choosesLevel(key); });
    }
    if (context) {
        // Named keys are where they always are, also where no layout is told.
        if (auto usual = compile(context.get(), nullptr, nullptr)) {
            keymaps.push_back(std::move(usual));
        }
    }
    const auto places = placesIn(keymaps);
    for (const auto& binding : own) {
        if (binding.code > 0 && binding.code < 256) {
            knowledge.taken.insert(
                {binding.mode, static_cast<HardwareKey>(binding.code), binding.modifiers});
        }
        const auto symbol =
            binding.symbol.empty()
                ? XKB_KEY_NoSymbol
                : xkb_keysym_from_name(binding.symbol.c_str(), XKB_KEYSYM_CASE_INSENSITIVE);
        if (symbol != XKB_KEY_NoSymbol) {
            const auto [first, last] = places.equal_range(symbol);
            for (auto place = first; place != last; ++place) {
                const auto& [key, held] = place->second;
                knowledge.taken.insert({binding.mode, key, binding.modifiers | held});
            }
        }
    }
    return knowledge;
}

} // namespace vorlin
