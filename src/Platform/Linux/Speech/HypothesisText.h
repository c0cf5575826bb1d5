#pragma once

#include <string>
#include <string_view>

namespace vorlin {

/// The text a person wants to read of a decoder's hypothesis (words separated by spaces):
/// - fillers (`<sil>`, `[NOISE]`, `++UM++`) are left out;
/// - the mark of an alternative pronunciation goes: `read(2)` is `read`;
/// - in English (`locale` "en" or "en-…") the pronoun is a capital: `i`, `i'm` become `I`, `I'm`.
/// Everything else stays as it is; words are joined by one space.
std::string hypothesisText(std::string_view hypothesis, std::string_view locale);

} // namespace vorlin
