#pragma once

#include "MIL/FlexibleShapes.h"
#include "MIL/Tensor.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorlin::mil::syntax {

// What a program text says, unresolved. Names are views into the text, which must outlive it.

/// A place in the text, counted in bytes from its start.
struct Position {
    std::size_t offset = 0;
};

struct Type {
    enum class Kind : std::uint8_t { tensor, list, tuple, dictionary, state };
    Kind kind = Kind::tensor;
    TensorType tensor;            // of a tensor or a state
    std::vector<Type> parameters; // of a list, tuple or dictionary
};

/// `BLOBFILE(path = ..., offset = ...)`.
struct BlobReference {
    std::string path;
    std::uint64_t offset = 0;
    Position position;
};

/// A tensor written out: its elements in memory order, packed where they are under a byte.
struct Numbers {
    std::vector<std::byte> bytes;
};

/// Lists, tuples and dictionaries carry nothing that running a program needs: they are checked
/// for form and left out.
struct Aggregate {};

struct Value {
    Type type;
    std::variant<Aggregate, Numbers, std::string, BlobReference> content;
    Position position;
};

struct Binding {
    enum class Kind : std::uint8_t { reference, value, tuple };
    Kind kind = Kind::reference;
    std::string_view name;      // of a reference
    std::size_t value = 0;      // index into Program::values
    std::vector<Binding> parts; // of a tuple
    Position position;
};

/// `name = binding`, as an argument in round brackets or an attribute in square ones.
struct Argument {
    std::string_view name;
    Binding binding;
    Position position;
};

struct Declaration {
    Type type;
    std::string_view name;
    Position position;
};

struct Statement {
    std::vector<Declaration> outputs;
    std::string_view operation;
    std::vector<Argument> arguments;
    std::vector<Argument> attributes;
    Position position; // of the operation's name
};

struct Reference {
    std::string_view name;
    Position position;
};

struct Function {
    std::string_view name;
    std::string_view opset;
    std::vector<Declaration> parameters;
    FlexibleShapes flexible;
    std::vector<Statement> statements;
    std::vector<Reference> outputs;
    Position position;
};

struct Program {
    std::vector<Value> values;
    std::vector<Function> functions;
};

} // namespace vorlin::mil::syntax
