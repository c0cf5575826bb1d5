#include "MIL/Parser/NumberReader.h"

#include "MIL/Half.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

namespace vorlin::mil {

namespace {

bool sameIgnoringCase(std::string_view word, std::string_view lower)
{
    if (word.size() != lower.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char c = word[i] >= 'A' && word[i] <= 'Z' ? static_cast<char>(word[i] + 32) : word[i];
        if (c != lower[i]) {
            return false;
        }
    }
    return true;
}

/// `word` as strtod wants it: the locale says which character stands for the point. The C++ library
/// of a Mac reads fractions in no other way yet.
std::string withPointOfLocale(std::string_view word)
{
    std::string text(word);
    if (const auto point = text.find('.'); point != std::string::npos) {
        text.replace(point, 1, std::localeconv()->decimal_point);
    }
    return text;
}

/// Parses a floating literal; nothing when `word` is none. Beyond the range it gives infinity.
std::optional<double> parseFloat(std::string_view word)
{
    const bool negative = word.starts_with('-');
    if (negative || word.starts_with('+')) {
        word.remove_prefix(1);
    }
    double value = 0;
    if (sameIgnoringCase(word, "inf") || sameIgnoringCase(word, "infinity")) {
        value = std::numeric_limits<double>::infinity();
    } else if (sameIgnoringCase(word, "nan")) {
        value = std::numeric_limits<double>::quiet_NaN();
    } else {
        // What else strtod reads is no literal: spaces, a second sign, "nan(1)".
        constexpr std::string_view literal = "0123456789abcdefABCDEFxXpP.+-";
        if (word.empty() || word.front() == '-' || word.front() == '+' ||
            word.find_first_not_of(literal) != std::string_view::npos) {
            return std::nullopt;
        }
        const std::string text = withPointOfLocale(word);
        char* stop = nullptr;
        value = std::strtod(text.c_str(), &stop); // too large reads as infinity, too small as zero
        if (stop != text.c_str() + text.size()) {
            return std::nullopt;
        }
    }
    return negative ? -value : value;
}

bool saysInfinity(std::string_view word)
{
    return word.find_first_of("iI") != std::string_view::npos;
}

class NumberReader {
public:
    NumberReader(Lexer& lexer, const TensorType& type) : lexer(lexer), type(type) {}

    std::vector<std::byte> read()
    {
        if (lexer.peek() == ')') {
            if (elementCount(type.shape) != 0) {
                lexer.failExpected("the elements of " + describe(type));
            }
            return {};
        }
        readLevel(0);
        return std::move(bytes);
    }

private:
    void readLevel(std::size_t axis)
    {
        if (axis == type.shape.size()) {
            readElement();
            return;
        }
        const syntax::Position start = lexer.position();
        lexer.expect('[', "'[' of a literal of type " + describe(type));
        std::int64_t count = 0;
        if (!lexer.accept(']')) {
            do {
                if (count == type.shape[axis]) {
                    lexer.fail("the literal has more elements than its type " + describe(type));
                }
                readLevel(axis + 1);
                ++count;
            } while (lexer.accept(','));
            lexer.expect(']', "',' or ']'");
        }
        if (count != type.shape[axis]) {
            lexer.failHere(start, "the literal has fewer elements than its type " + describe(type));
        }
    }

    void readElement()
    {
        const syntax::Position start = lexer.position();
        const std::string_view word = lexer.atom("a number");
        if (type.element == ElementType::boolean) {
            readBoolean(word, start);
        } else if (isFloat(type.element)) {
            readFloat(word, start);
        } else {
            readInteger(word, start);
        }
    }

    void readBoolean(std::string_view word, syntax::Position start)
    {
        if (word != "true" && word != "false") {
            refuse(word, start, "expected 'true' or 'false', found ");
        }
        bytes.push_back(word == "true" ? std::byte{1} : std::byte{0});
    }

    void readFloat(std::string_view word, syntax::Position start)
    {
        const std::optional<double> number = parseFloat(word);
        if (!number) {
            refuse(word, start, "expected a number, found ");
        }
        bool fits = !std::isinf(*number) || saysInfinity(word);
        const auto single = static_cast<float>(*number);
        switch (type.element) {
        case ElementType::fp16: {
            const Half half = narrowOnce(*number);
            fits = fits && (std::isinf(*number) || !std::isinf(widen(half)));
            append(half.bits);
            break;
        }
        case ElementType::bf16:
            append(static_cast<std::uint16_t>(std::bit_cast<std::uint32_t>(single) >> 16));
            break;
        case ElementType::fp32:
            fits = fits && (std::isinf(*number) || !std::isinf(single));
            append(single);
            break;
        default: append(*number); break;
        }
        if (!fits) {
            refuse(word, start, "does not fit " + std::string(nameOf(type.element)) + ": ");
        }
    }

    void readInteger(std::string_view word, syntax::Position start)
    {
        std::int64_t value = 0;
        const char* const end = word.data() + word.size();
        auto [stop, error] = std::from_chars(word.data(), end, value);
        std::uint64_t large = 0;
        if (type.element == ElementType::uint64 && error == std::errc::result_out_of_range) {
            const auto again = std::from_chars(word.data(), end, large);
            stop = again.ptr;
            error = again.ec;
            value = static_cast<std::int64_t>(large);
        } else if (error == std::errc() &&
                   (value < lowestOf(type.element) || value > highestOf(type.element))) {
            error = std::errc::result_out_of_range;
        }
        if (stop != end || error == std::errc::invalid_argument) {
            refuse(word, start, "expected an integer, found ");
        }
        if (error != std::errc()) {
            refuse(word, start, "does not fit " + std::string(nameOf(type.element)) + ": ");
        }
        appendInteger(value);
    }

    void appendInteger(std::int64_t value)
    {
        const std::size_t bits = bitsOf(type.element);
        if (bits < 8) {
            bytes.resize((static_cast<std::size_t>(packed + 1) * bits + 7) / 8);
            storePackedBits(bytes.data(), bits, packed++,
                            static_cast<std::uint32_t>(value) & ((1u << bits) - 1u));
            return;
        }
        const auto* raw = reinterpret_cast<const std::byte*>(&value); // little endian
        bytes.insert(bytes.end(), raw, raw + bits / 8);
    }

    template <class T>
    void append(T value)
    {
        const auto* raw = reinterpret_cast<const std::byte*>(&value);
        bytes.insert(bytes.end(), raw, raw + sizeof(T));
    }

    [[noreturn]] void refuse(std::string_view word, syntax::Position start,
                             const std::string& why) const
    {
        lexer.failHere(start, why + "'" + std::string(word.substr(0, 40)) +
                                  (word.size() > 40 ? "...'" : "'"));
    }

    Lexer& lexer;
    const TensorType& type;
    std::vector<std::byte> bytes;
    std::uint64_t packed = 0;
};

} // namespace

std::vector<std::byte> readNumbers(Lexer& lexer, const TensorType& type)
{
    return NumberReader(lexer, type).read();
}

} // namespace vorlin::mil
