#include "MIL/Parser/FlexibleShapesReader.h"

#include "MIL/ElementType.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vorlin::mil {

namespace {

constexpr int deepestLiteral = 64;
constexpr std::string_view bracket = "',' or a closing bracket";

class FlexibleShapesReader {
public:
    explicit FlexibleShapesReader(Lexer& lexer) : lexer(lexer) {}

    FlexibleShapes read()
    {
        passType();
        lexer.expect('(');
        lexer.expect('(');
        if (!lexer.accept(')')) {
            do {
                readPart();
            } while (lexer.accept(','));
            lexer.expect(')', bracket);
        }
        lexer.expect(')');
        return std::move(shapes);
    }

private:
    /// A type: words, numbers and balanced angle brackets.
    void passType()
    {
        lexer.identifier("a type");
        int open = 0;
        while (lexer.accept('<') ? ++open > 0 : open > 0) {
            while (open > 0 && lexer.peek() != '<') {
                if (lexer.accept('>')) {
                    --open;
                } else if (!lexer.accept(',') && !lexer.accept('[') && !lexer.accept(']') &&
                           !lexer.accept('?')) {
                    lexer.atom("a type");
                }
            }
        }
    }

    /// Calls `content` for a literal that may carry its type in front, as `string("...")` does.
    template <class Content>
    void readTyped(Content content)
    {
        const bool typed = !lexer.peekIdentifier().empty();
        if (typed) {
            passType();
            lexer.expect('(');
        }
        content();
        if (typed) {
            lexer.expect(')');
        }
    }

    std::string readText()
    {
        std::string text;
        readTyped([&] { text = lexer.string(); });
        return text;
    }

    std::int64_t readNumber()
    {
        std::int64_t value = 0;
        readTyped([&] {
            const syntax::Position start = lexer.position();
            const std::string_view word = lexer.atom("an extent");
            const char* const end = word.data() + word.size();
            const auto [stop, error] = std::from_chars(word.data(), end, value);
            if (error != std::errc() || stop != end) {
                lexer.failHere(start, "expected an extent, found '" +
                                          std::string(word.substr(0, 40)) + "'");
            }
        });
        return value;
    }

    /// `{{key, value}, ...}`; `value(key)` reads the value.
    template <class ReadValue>
    void readDictionary(ReadValue value)
    {
        readTyped([&] {
            lexer.expect('{');
            if (lexer.accept('}')) {
                return;
            }
            do {
                lexer.expect('{');
                std::string key = readText();
                lexer.expect(',');
                value(std::move(key));
                lexer.expect('}');
            } while (lexer.accept(','));
            lexer.expect('}', bracket);
        });
    }

    /// `[item, ...]`, one item for each axis.
    template <class ReadItem>
    void readAxes(ReadItem item)
    {
        readTyped([&] {
            lexer.expect('[');
            if (lexer.accept(']')) {
                return;
            }
            std::size_t axes = 0;
            do {
                if (++axes > Extents::maximumRank) {
                    lexer.fail("a tensor has at most " + std::to_string(Extents::maximumRank) +
                               " axes");
                }
                item();
            } while (lexer.accept(','));
            lexer.expect(']', bracket);
        });
    }

    FlexibleShapes::Entry readShape(std::string input)
    {
        FlexibleShapes::Entry entry{std::move(input), {}};
        readAxes([&] {
            const std::int64_t extent = std::max<std::int64_t>(readNumber(), 0);
            entry.range.least.push(extent);
            entry.range.most.push(extent);
        });
        return entry;
    }

    /// `[[least, most], ...]`; a negative number means that there is no such limit.
    FlexibleShapes::Entry readRange(std::string input)
    {
        FlexibleShapes::Entry entry{std::move(input), {}};
        readAxes([&] {
            const syntax::Position start = lexer.position();
            std::int64_t least = 0;
            std::int64_t most = 0;
            readTyped([&] {
                lexer.expect('[');
                least = std::max<std::int64_t>(readNumber(), 0);
                lexer.expect(',');
                most = readNumber();
                lexer.expect(']');
            });
            if (most >= 0 && most < least) {
                lexer.failHere(start, "an axis ranges from " + std::to_string(least) + " down to " +
                                          std::to_string(most));
            }
            entry.range.least.push(least);
            entry.range.most.push(most < 0 ? Extents::unknown : most);
        });
        return entry;
    }

    /// `("DefaultShapes", {...})` and its like.
    void readPart()
    {
        lexer.expect('(');
        const std::string what = readText();
        lexer.expect(',');
        if (what == "DefaultShapes") {
            readDictionary(
                [&](std::string input) { shapes.defaults.push_back(readShape(std::move(input))); });
        } else if (what == "RangeDims") {
            FlexibleShapes::Configuration& ranges = shapes.configurations.emplace_back();
            readDictionary(
                [&](std::string input) { ranges.push_back(readRange(std::move(input))); });
        } else if (what == "EnumeratedShapes") {
            readDictionary([&](const std::string&) {
                FlexibleShapes::Configuration& together = shapes.configurations.emplace_back();
                readDictionary(
                    [&](std::string input) { together.push_back(readShape(std::move(input))); });
            });
        } else {
            skipLiteral(lexer);
        }
        lexer.expect(')', "')'");
    }

    Lexer& lexer;
    FlexibleShapes shapes;
};

} // namespace

FlexibleShapes readFlexibleShapes(Lexer& lexer)
{
    return FlexibleShapesReader(lexer).read();
}

void skipLiteral(Lexer& lexer, int depth)
{
    if (depth == deepestLiteral) {
        lexer.fail("nested more than " + std::to_string(deepestLiteral) + " levels deep");
    }
    const char open = lexer.peek();
    if (open == '"') {
        lexer.string();
        return;
    }
    if (open != '[' && open != '(' && open != '{') {
        lexer.atom("a literal");
        return;
    }
    lexer.expect(open);
    const char close = open == '[' ? ']' : open == '(' ? ')' : '}';
    if (lexer.accept(close)) {
        return;
    }
    do {
        skipLiteral(lexer, depth + 1);
    } while (lexer.accept(','));
    lexer.expect(close);
}

} // namespace vorlin::mil
