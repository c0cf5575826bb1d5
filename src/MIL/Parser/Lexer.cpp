#include "MIL/Parser/Lexer.h"

#include "MIL/Error.h"

#include <algorithm>
#include <charconv>

namespace vorlin::mil {

namespace {

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool isNamePart(char c)
{
    return isLetter(c) || isDigit(c) || c == '@';
}
bool isAtomPart(char c)
{
    return isNamePart(c) || c == '.' || c == '+' || c == '-';
}
bool isPrintable(char c)
{
    return c >= ' ' && c <= '~';
}
/// "the byte 0xC3".
std::string nameOfByte(char c)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(c);
    return std::string("the byte 0x") + digits[value / 16] + digits[value % 16];
}
bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

} // namespace

void failAt(std::string_view text, syntax::Position position, const std::string& what)
{
    const std::string_view before = text.substr(0, position.offset);
    const std::size_t lineStart = before.rfind('\n') + 1; // npos wraps to 0
    throw Error("model.mil:" + std::to_string(lineOf(text, position)) + ":" +
                std::to_string(before.size() - lineStart + 1) + ": " + what);
}

std::size_t lineOf(std::string_view text, syntax::Position position)
{
    const std::string_view before = text.substr(0, position.offset);
    return static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
}

char Lexer::peek()
{
    while (at < text.size()) {
        const char c = text[at];
        if (isSpace(c)) {
            ++at;
        } else if (c == '/' && at + 1 < text.size() && text[at + 1] == '/') {
            at = std::min(text.find('\n', at), text.size());
        } else {
            return c;
        }
    }
    return '\0';
}

void Lexer::expect(char wanted, std::string_view what)
{
    if (!accept(wanted)) {
        failExpected(what.empty() ? "'" + std::string(1, wanted) + "'" : std::string(what));
    }
}

void Lexer::expectWord(std::string_view wanted)
{
    if (peekIdentifier() != wanted) {
        failExpected("'" + std::string(wanted) + "'");
    }
    at += wanted.size();
}

std::string_view Lexer::peekIdentifier()
{
    if (!isLetter(peek())) {
        return {};
    }
    std::size_t end = at;
    while (end < text.size() && isNamePart(text[end])) {
        ++end;
    }
    return text.substr(at, end - at);
}

std::string_view Lexer::identifier(std::string_view what)
{
    const std::string_view name = peekIdentifier();
    if (name.empty()) {
        failExpected(what);
    }
    at += name.size();
    return name;
}

std::string_view Lexer::atom(std::string_view what)
{
    peek();
    std::size_t end = at;
    while (end < text.size() && isAtomPart(text[end])) {
        ++end;
    }
    if (end == at) {
        failExpected(what);
    }
    const std::string_view word = text.substr(at, end - at);
    at = end;
    return word;
}

std::string Lexer::string()
{
    const syntax::Position start = position();
    expect('"', "a string");
    std::string result;
    while (at < text.size()) {
        const std::size_t stop = std::min(text.find_first_of("\"\\", at), text.size());
        result.append(text.substr(at, stop - at));
        at = stop;
        if (at < text.size() && text[at] == '"') {
            ++at;
            return result;
        }
        if (at + 1 < text.size()) {
            result.push_back(text[at + 1]);
        }
        at = std::min(at + 2, text.size());
    }
    failHere(start, "the string that starts here does not end");
}

std::uint64_t Lexer::unsignedNumber(std::string_view what)
{
    const syntax::Position start = position();
    const std::string_view word = atom(what);
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size()) {
        failHere(start, "expected " + std::string(what) + ", found '" +
                            std::string(word.substr(0, 40)) + "'");
    }
    return value;
}

syntax::Position Lexer::position()
{
    peek();
    return {at};
}

void Lexer::fail(const std::string& what)
{
    peek();
    failAt(text, {at}, what);
}

void Lexer::failHere(syntax::Position position, const std::string& what) const
{
    failAt(text, position, what);
}

void Lexer::failExpected(std::string_view what)
{
    const char next = peek();
    std::string found = "the end of the text";
    if (next != '\0' || at < text.size()) {
        std::size_t end = at + 1;
        while (end < text.size() && end - at < 40 && isAtomPart(text[at]) &&
               isAtomPart(text[end])) {
            ++end;
        }
        found = isPrintable(next) ? "'" + std::string(text.substr(at, end - at)) + "'"
                                  : nameOfByte(next);
    }
    fail("expected " + std::string(what) + ", found " + found);
}

} // namespace vorlin::mil
