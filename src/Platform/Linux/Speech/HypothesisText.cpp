#include "Platform/Linux/Speech/HypothesisText.h"

#include <algorithm>

namespace vorlin {

namespace {

bool isFiller(std::string_view word)
{
    return word.starts_with('<') || word.starts_with('[') || word.starts_with("++");
}

std::string_view withoutPronunciationMark(std::string_view word)
{
    const auto open = word.rfind('(');
    if (open == std::string_view::npos || open == 0 || !word.ends_with(')')) {
        return word;
    }
    const auto number = word.substr(open + 1, word.size() - open - 2);
    const bool isNumber =
        !number.empty() && std::ranges::all_of(number, [](char c) { return c >= '0' && c <= '9'; });
    return isNumber ? word.substr(0, open) : word;
}

bool isEnglish(std::string_view locale)
{
    return locale == "en" || locale.starts_with("en-");
}

bool isEnglishPronoun(std::string_view word)
{
    return word == "i" || word == "i'm" || word == "i'd" || word == "i'll" || word == "i've";
}

} // namespace

std::string hypothesisText(std::string_view hypothesis, std::string_view locale)
{
    constexpr std::string_view spaces = " \t\n\r";
    std::string text;
    while (true) {
        const auto begin = hypothesis.find_first_not_of(spaces);
        if (begin == std::string_view::npos) {
            return text;
        }
        hypothesis.remove_prefix(begin);
        const auto end = std::min(hypothesis.find_first_of(spaces), hypothesis.size());
        const auto word = withoutPronunciationMark(hypothesis.substr(0, end));
        hypothesis.remove_prefix(end);
        if (isFiller(word)) {
            continue;
        }
        if (!text.empty()) {
            text += ' ';
        }
        const auto wordBegin = text.size();
        text += word;
        if (isEnglish(locale) && isEnglishPronoun(word)) {
            text[wordBegin] = 'I';
        }
    }
}

} // namespace vorlin
