#include "Platform/Linux/Desktop/EnvironmentLocale.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace vorlin {

namespace {

constexpr std::string_view fallbackCode = "en";

/// The language code in a locale name such as "de_AT.UTF-8@euro"; empty when it has none, as in
/// "C", "POSIX" and the path of a locale file. Codes have two or three letters.
std::string codeIn(std::string_view locale)
{
    std::string code(locale.substr(0, locale.find_first_of("_-.@")));
    for (auto& letter : code) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    const bool isCode = (code.size() == 2 || code.size() == 3) &&
                        std::ranges::all_of(code, [](char c) { return c >= 'a' && c <= 'z'; });
    return isCode ? code : "";
}

} // namespace

EnvironmentLocale::EnvironmentLocale(Environment environment) : environment(std::move(environment))
{
}

std::string EnvironmentLocale::languageCode() const
{
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = environment(name).value_or("");
        if (!locale.empty()) {
            break;
        }
    }
    auto code = codeIn(locale);
    if (code.empty()) {
        return std::string(fallbackCode);
    }
    const auto list = environment("LANGUAGE").value_or("");
    const auto begin = list.find_first_not_of(':');
    if (begin != std::string::npos) {
        const auto first = std::string_view(list).substr(begin);
        code = codeIn(first.substr(0, first.find(':')));
    }
    return code.empty() ? std::string(fallbackCode) : code;
}

} // namespace vorlin
