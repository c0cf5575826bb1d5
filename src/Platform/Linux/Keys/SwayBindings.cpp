#include "Platform/Linux/Keys/SwayBindings.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vorlin {

namespace {

using namespace swayModifiers;

constexpr std::pair<std::string_view, SwayModifiers> names[] = {
    {"shift", shift}, {"lock", 1U << 1U}, {"control", control}, {"ctrl", control},
    {"mod1", alt},    {"alt", alt},       {"mod2", 1U << 4U},   {"mod3", 1U << 5U},
    {"mod4", logo},   {"super", logo},    {"mod5", third},
};

constexpr std::pair<std::string_view, SwayModifiers> written[] = {
    {"Shift+", shift}, {"Ctrl+", control}, {"Mod1+", alt}, {"Mod4+", logo}, {"Mod5+", third}};

char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// A number and the space behind it, taken off the front.
template <class Number>
bool takeNumber(std::string_view& text, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    return true;
}

void append(std::string& commands, const std::string& mode, const SwayBinding& binding,
            std::string_view verb, const std::string& what)
{
    for (std::size_t layout = 1; layout <= commandsOfSwayBinding; ++layout) {
        commands += commands.empty() ? "" : ";";
        commands += "mode \"" + mode + "\" ";
        commands += verb;
        commands += binding.release ? " --inhibited --release" : " --inhibited";
        commands += " Group" + std::to_string(layout) + "+";
        for (const auto& [name, bit] : written) {
            commands += (binding.modifiers & bit) != 0 ? name : "";
        }
        commands += std::to_string(binding.key) + what;
    }
}

} // namespace

std::optional<SwayModifiers> swayModifier(std::string_view name)
{
    for (const auto& [known, bit] : names) {
        if (std::ranges::equal(name, known, {}, lower)) {
            return bit;
        }
    }
    return std::nullopt;
}

const std::array<SwayModifiers, 32>& everySwayModifiers()
{
    static const auto every = [] {
        std::array<SwayModifiers, 32> result{};
        for (std::size_t which = 0; which < result.size(); ++which) {
            for (std::size_t bit = 0; bit < std::size(written); ++bit) {
                result.at(which) |= (which >> bit & 1U) != 0 ? written[bit].second : 0;
            }
        }
        return result;
    }();
    return every;
}

std::size_t countOf(const SwayBindings& bindings)
{
    std::size_t result = 0;
    for (const auto& [mode, each] : bindings) {
        result += each.size();
    }
    return result;
}

bool contains(const SwayBindings& bindings, const std::string& mode, const SwayBinding& binding)
{
    const auto found = bindings.find(mode);
    return found != bindings.end() && found->second.contains(binding);
}

void add(SwayBindings& to, const SwayBindings& more)
{
    for (const auto& [mode, each] : more) {
        to[mode].insert(each.begin(), each.end());
    }
}

void remove(SwayBindings& from, const SwayBindings& those)
{
    for (const auto& [mode, each] : those) {
        for (const auto& binding : each) {
            from[mode].erase(binding);
        }
    }
}

std::string swayBindingName(const std::string& token, const SwayBinding& binding)
{
    return token + (binding.release ? " r " : " p ") + std::to_string(binding.key) + " " +
           std::to_string(binding.modifiers);
}

std::optional<SwayBinding> swayBindingNamed(std::string_view name, std::string_view token)
{
    constexpr std::string_view nothing = "nop ";
    if (!name.starts_with(nothing) || !name.substr(nothing.size()).starts_with(token)) {
        return std::nullopt;
    }
    auto rest = name.substr(nothing.size() + token.size());
    SwayBinding binding;
    if (rest.starts_with(" r ")) {
        binding.release = true;
    } else if (!rest.starts_with(" p ")) {
        return std::nullopt;
    }
    rest.remove_prefix(3);
    if (!takeNumber(rest, binding.key) || !takeNumber(rest, binding.modifiers) || !rest.empty()) {
        return std::nullopt;
    }
    return binding;
}

void appendBind(std::string& commands, const std::string& mode, const SwayBinding& binding,
                const std::string& token)
{
    append(commands, mode, binding, "bindcode --no-repeat --no-warn",
           " nop " + swayBindingName(token, binding));
}

void appendUnbind(std::string& commands, const std::string& mode, const SwayBinding& binding)
{
    append(commands, mode, binding, "unbindcode", "");
}

bool isSuitableSwayMode(std::string_view mode)
{
    return !mode.empty() && mode.size() <= 64 && std::ranges::none_of(mode, [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 ||
               std::string_view("\"'\\;,$[]{}").find(letter) != std::string_view::npos;
    });
}

} // namespace vorlin
