#pragma once

#include "Preferences.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vorlin {

/// Where in `text` its last `count` characters begin, in bytes; nothing when it has fewer. A
/// character is what a person calls one: an extended grapheme cluster (Unicode annex 29). A byte
/// that is not UTF-8 is a character of its own. Looks at little more than those characters, even
/// of a long text.
std::optional<std::size_t> startOfLastCharacters(std::string_view text, std::size_t count);

/// How many characters of a long text are kept in view.
inline constexpr std::size_t charactersInView = 420;

/// The transcript as the overlay's line. In full mode a text of more than 420 characters becomes
/// "…" and its last 420, so that the newest words stay in view.
std::string transcriptLine(const std::string& transcript, HUDTextMode textMode);

/// `line` ready to be drawn: one paragraph of valid UTF-8, at most `charactersInView` characters
/// of its end (after a "…" in full mode; one line never shows so many).
///
/// It may come from anywhere. White space and line breaks in a row become one space; controls,
/// invisible marks and the marks that turn the direction of what follows are dropped (joiners and
/// the single-place marks LRM, RLM and ALM stay); what is not text becomes U+FFFD; a character
/// built of more than 32 code points loses the rest. However long the line, only its last 64 KiB
/// are looked at.
std::string drawnText(const std::string& line, HUDTextMode textMode);

/// A notice or a warning ready to be drawn, by the same rules, but for its beginning: at most
/// `charactersInView` characters, and a "…" where there are more. Only its first 64 KiB are looked
/// at.
std::string drawnNotice(const std::string& notice);

/// Whether the paragraph runs from right to left: its first letter with a direction does.
/// Only the first 64 KiB are looked at.
bool runsRightToLeft(std::string_view text);

} // namespace vorlin
