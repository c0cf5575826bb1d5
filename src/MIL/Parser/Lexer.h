#pragma once

#include "MIL/Parser/Syntax.h"

#include <string>
#include <string_view>

namespace vorlin::mil {

/// Throws Error "model.mil:LINE:COLUMN: what", lines and columns counted from 1.
[[noreturn]] void failAt(std::string_view text, syntax::Position position, const std::string& what);

/// The line of a position, counted from 1.
std::size_t lineOf(std::string_view text, syntax::Position position);

/// Reads a program text word by word. Nothing is copied but strings with escapes.
class Lexer {
public:
    /// `text` must outlive the lexer.
    explicit Lexer(std::string_view text) : text(text) {}

    /// The next character that is neither white space nor comment, 0 at the end; not consumed.
    char peek();

    /// Whether the next character is `wanted`; consumes it if so.
    bool accept(char wanted)
    {
        if (peek() != wanted || wanted == '\0') {
            return false;
        }
        ++at;
        return true;
    }
    /// Consumes `wanted` or throws. `what` names the thing in the message, else the character.
    void expect(char wanted, std::string_view what = {});
    void expectWord(std::string_view wanted);

    /// An identifier: letters, digits, `_` and `@`, not starting with a digit.
    std::string_view identifier(std::string_view what);
    /// What an identifier would return, empty if there is none; not consumed.
    std::string_view peekIdentifier();
    /// A word of a number or of `true`, `inf` and the like: everything up to the next delimiter.
    std::string_view atom(std::string_view what);
    std::string string();
    std::uint64_t unsignedNumber(std::string_view what);

    syntax::Position position();
    [[noreturn]] void fail(const std::string& what);
    [[noreturn]] void failHere(syntax::Position position, const std::string& what) const;
    /// Throws "expected WHAT, found ...".
    [[noreturn]] void failExpected(std::string_view what);

private:
    std::string_view text;
    std::size_t at = 0;
};

} // namespace vorlin::mil
