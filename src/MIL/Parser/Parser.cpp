#include "MIL/Parser/Parser.h"

#include "MIL/Parser/FlexibleShapesReader.h"
#include "MIL/Parser/Lexer.h"
#include "MIL/Parser/NumberReader.h"

#include <utility>

namespace vorlin::mil {

namespace {

using namespace syntax;

constexpr int deepestNesting = 64;

class Parser {
public:
    explicit Parser(std::string_view text) : lexer(text) {}

    Program parse()
    {
        lexer.expectWord("program");
        lexer.expect('(');
        parseVersion();
        lexer.expect(')');
        parseIgnoredAttributes();
        lexer.expect('{');
        while (!lexer.accept('}')) {
            program.functions.push_back(parseFunction());
        }
        if (lexer.peek() != '\0') {
            lexer.failExpected("the end of the text");
        }
        if (program.functions.empty()) {
            lexer.fail("the program has no function");
        }
        return std::move(program);
    }

private:
    /// Counts open brackets of one kind or another, so that recursion stays shallow.
    class Level {
    public:
        explicit Level(Parser& parser) : parser(parser)
        {
            if (++parser.depth > deepestNesting) {
                parser.lexer.fail("nested more than " + std::to_string(deepestNesting) +
                                  " levels deep");
            }
        }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;
        ~Level() { --parser.depth; }

    private:
        Parser& parser;
    };

    void parseVersion()
    {
        do {
            lexer.atom("a version number");
        } while (lexer.accept(','));
    }

    Function parseFunction()
    {
        Function function;
        lexer.expectWord("func");
        function.position = lexer.position();
        function.name = lexer.identifier("the name of a function");
        lexer.expect('<');
        function.opset = lexer.identifier("an opset");
        lexer.expect('>');
        lexer.expect('(');
        if (!lexer.accept(')')) {
            do {
                function.parameters.push_back(parseDeclaration());
            } while (lexer.accept(','));
            lexer.expect(')', "',' or ')'");
        }
        parseFunctionAttributes(function);
        lexer.expect('{');
        while (!lexer.accept('}')) {
            function.statements.push_back(parseStatement());
        }
        lexer.expect('-', "'->'");
        lexer.expect('>', "'->'");
        lexer.expect('(');
        if (!lexer.accept(')')) {
            do {
                const Position position = lexer.position();
                function.outputs.push_back({lexer.identifier("the name of an output"), position});
            } while (lexer.accept(','));
            lexer.expect(')', "',' or ')'");
        }
        lexer.expect(';');
        return function;
    }

    Declaration parseDeclaration()
    {
        Type type = parseType();
        const Position position = lexer.position();
        return {std::move(type), lexer.identifier("the name of a value"), position};
    }

    Statement parseStatement()
    {
        Statement statement;
        if (lexer.accept('(')) {
            do {
                statement.outputs.push_back(parseDeclaration());
            } while (lexer.accept(','));
            lexer.expect(')', "',' or ')'");
            lexer.expect('=');
        } else if (startsType()) {
            do {
                statement.outputs.push_back(parseDeclaration());
            } while (lexer.accept(','));
            lexer.expect('=', "',' or '='");
        }
        statement.position = lexer.position();
        statement.operation = lexer.identifier("a type or the name of an operation");
        lexer.expect('(');
        if (!lexer.accept(')')) {
            do {
                statement.arguments.push_back(parseArgument());
            } while (lexer.accept(','));
            lexer.expect(')', "',' or ')'");
        }
        if (lexer.accept('[')) {
            parseAttributes(statement.attributes);
        }
        if (lexer.peek() == '{') {
            lexer.failHere(statement.position, "nested blocks are not supported: operation '" +
                                                   std::string(statement.operation) + "'");
        }
        lexer.expect(';', "'[' or ';'");
        return statement;
    }

    /// A statement without outputs starts with the operation's name, which no bracket follows
    /// but '('; a type is a reserved word.
    bool startsType()
    {
        const std::string_view word = lexer.peekIdentifier();
        return word == "tensor" || word == "list" || word == "tuple" || word == "dict" ||
               word == "state" || elementTypeNamed(word).has_value();
    }

    Argument parseArgument()
    {
        Argument argument;
        argument.position = lexer.position();
        argument.name = lexer.identifier("the name of an argument");
        lexer.expect('=');
        argument.binding = parseBinding();
        return argument;
    }

    Binding parseBinding()
    {
        const Level level(*this);
        Binding binding;
        binding.position = lexer.position();
        if (lexer.accept('(')) {
            binding.kind = Binding::Kind::tuple;
            if (!lexer.accept(')')) {
                do {
                    binding.parts.push_back(parseBinding());
                } while (lexer.accept(','));
                lexer.expect(')', "',' or ')'");
            }
            return binding;
        }
        if (startsType()) {
            binding.kind = Binding::Kind::value;
            binding.value = parseValue();
            return binding;
        }
        binding.name = lexer.identifier("a name, a value or '('");
        return binding;
    }

    /// What follows '['.
    void parseAttributes(std::vector<Argument>& attributes)
    {
        if (lexer.accept(']')) {
            return;
        }
        do {
            Argument& attribute = attributes.emplace_back();
            attribute.position = lexer.position();
            attribute.name = lexer.identifier("the name of an attribute");
            lexer.expect('=');
            attribute.binding.kind = Binding::Kind::value;
            attribute.binding.position = lexer.position();
            attribute.binding.value = parseValue();
        } while (lexer.accept(','));
        lexer.expect(']', "',' or ']'");
    }

    void parseFunctionAttributes(Function& function)
    {
        if (!lexer.accept('[') || lexer.accept(']')) {
            return;
        }
        do {
            const std::string_view name = lexer.identifier("the name of an attribute");
            lexer.expect('=');
            if (name == "FlexibleShapeInformation") {
                function.flexible = readFlexibleShapes(lexer);
            } else {
                parseValue();
            }
        } while (lexer.accept(','));
        lexer.expect(']', "',' or ']'");
    }

    void parseIgnoredAttributes()
    {
        if (lexer.accept('[')) {
            std::vector<Argument> ignored;
            parseAttributes(ignored);
        }
    }

    Type parseType()
    {
        const Level level(*this);
        const Position start = lexer.position();
        const std::string_view word = lexer.identifier("a type");
        Type type;
        if (const auto scalar = elementTypeNamed(word)) {
            type.tensor.element = *scalar;
            return type;
        }
        lexer.expect('<', "a type");
        if (word == "tensor") {
            parseTensorType(type.tensor);
        } else if (word == "list") {
            type.kind = Type::Kind::list;
            type.parameters.push_back(parseType());
            lexer.expect(',');
            parseDimension();
        } else if (word == "tuple") {
            type.kind = Type::Kind::tuple;
            do {
                type.parameters.push_back(parseType());
            } while (lexer.accept(','));
        } else if (word == "dict") {
            type.kind = Type::Kind::dictionary;
            type.parameters.push_back(parseType());
            lexer.expect(',');
            type.parameters.push_back(parseType());
        } else if (word == "state") {
            const Type inner = parseType();
            if (inner.kind != Type::Kind::tensor) {
                lexer.failHere(start, "a state must hold a tensor");
            }
            type.kind = Type::Kind::state;
            type.tensor = inner.tensor;
        } else {
            lexer.failHere(start, "unknown type '" + std::string(word.substr(0, 40)) + "'");
        }
        lexer.expect('>');
        return type;
    }

    void parseTensorType(TensorType& tensor)
    {
        const Position start = lexer.position();
        const std::string_view word = lexer.identifier("an element type");
        const auto element = elementTypeNamed(word);
        if (!element) {
            lexer.failHere(start, "unknown type '" + std::string(word.substr(0, 40)) + "'");
        }
        tensor.element = *element;
        lexer.expect(',');
        lexer.expect('[');
        if (lexer.accept(']')) {
            return;
        }
        do {
            if (tensor.shape.size() == Extents::maximumRank) {
                lexer.fail("a tensor has at most " + std::to_string(Extents::maximumRank) +
                           " axes");
            }
            tensor.shape.push(parseDimension());
        } while (lexer.accept(','));
        lexer.expect(']', "',' or ']'");
    }

    std::int64_t parseDimension()
    {
        if (lexer.accept('?')) {
            return Extents::unknown;
        }
        const Position start = lexer.position();
        const std::uint64_t extent = lexer.unsignedNumber("an extent");
        if (extent > (std::uint64_t{1} << 40)) {
            lexer.failHere(start, "the extent " + std::to_string(extent) + " is too large");
        }
        return static_cast<std::int64_t>(extent);
    }

    /// Returns the index of the value in the program.
    std::size_t parseValue()
    {
        const Level level(*this);
        Value value;
        value.position = lexer.position();
        value.type = parseType();
        lexer.expect('(');
        if (lexer.peekIdentifier() == "BLOBFILE") {
            value.content = parseBlobReference();
        } else if (value.type.kind != Type::Kind::tensor) {
            if (lexer.peek() != ')') {
                skipLiteral(lexer, depth);
            }
        } else if (value.type.tensor.element == ElementType::string) {
            parseText(value);
        } else {
            if (!isKnown(value.type.tensor.shape)) {
                lexer.failHere(value.position, "a literal needs a type without '?'");
            }
            value.content = Numbers{readNumbers(lexer, value.type.tensor)};
        }
        lexer.expect(')');
        program.values.push_back(std::move(value));
        return program.values.size() - 1;
    }

    void parseText(Value& value)
    {
        if (value.type.tensor.shape.empty()) {
            value.content = lexer.string();
        } else if (lexer.peek() != ')') {
            skipLiteral(lexer, depth);
        }
    }

    BlobReference parseBlobReference()
    {
        BlobReference blob;
        blob.position = lexer.position();
        lexer.expectWord("BLOBFILE");
        lexer.expect('(');
        bool hasPath = false;
        bool hasOffset = false;
        do {
            const Position start = lexer.position();
            const std::string_view name = lexer.identifier("'path' or 'offset'");
            lexer.expect('=');
            const Type type = parseType();
            lexer.expect('(');
            if (name == "path" && type.tensor.element == ElementType::string && !hasPath) {
                blob.path = lexer.string();
                hasPath = true;
            } else if (name == "offset" && isInteger(type.tensor.element) && !hasOffset) {
                blob.offset = lexer.unsignedNumber("an offset");
                hasOffset = true;
            } else {
                lexer.failHere(start, "expected the path or the offset of a blob");
            }
            lexer.expect(')');
        } while (lexer.accept(','));
        lexer.expect(')', "',' or ')'");
        if (!hasPath || !hasOffset) {
            lexer.failHere(blob.position, "a blob needs a path and an offset");
        }
        return blob;
    }

    Lexer lexer;
    Program program;
    int depth = 0;
};

} // namespace

syntax::Program parseProgram(std::string_view text)
{
    return Parser(text).parse();
}

} // namespace vorlin::mil
