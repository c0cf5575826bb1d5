// The operands of a statement: names resolved, constants made, stored forms made dense.
#include "MIL/Graph/GraphBuilder.h"

#include "MIL/Error.h"

#include <algorithm>
#include <utility>

namespace vorlin::mil {

namespace {

/// Stored constants up to this size are expanded at load, larger ones where they are used.
constexpr std::size_t largestExpanded = std::size_t{1} << 16;

/// What a tensor without elements points to, so that it does not look unknown.
std::vector<std::byte> emptyBytes()
{
    return std::vector<std::byte>(64);
}

} // namespace

Call::Operands GraphBuilder::bindOperands(const OperationKind& kind,
                                          const syntax::Statement& statement)
{
    Call::Operands operands(kind.parameters.size());
    const auto bindOne = [&](const syntax::Argument& argument, bool isAttribute) {
        const auto parameter =
            std::find_if(kind.parameters.begin(), kind.parameters.end(),
                         [&](const Parameter& p) { return p.name == argument.name; });
        if (parameter == kind.parameters.end()) {
            if (isAttribute) {
                return; // attributes also carry names and other remarks
            }
            fail(argument.position, "operation '" + std::string(kind.name) + "' has no argument '" +
                                        std::string(argument.name) + "'");
        }
        std::vector<ValueId>& ids =
            operands[static_cast<std::size_t>(parameter - kind.parameters.begin())];
        if (!ids.empty()) {
            fail(argument.position,
                 "the argument '" + std::string(argument.name) + "' is given twice");
        }
        bind(*parameter, argument.binding, ids);
    };
    for (const syntax::Argument& argument : statement.arguments) {
        bindOne(argument, false);
    }
    for (const syntax::Argument& attribute : statement.attributes) {
        bindOne(attribute, true);
    }
    refuseStates(kind, operands, statement);
    for (std::size_t i = 0; i < kind.parameters.size(); ++i) {
        if (operands[i].empty() && !kind.parameters[i].optional) {
            fail(statement.position, "operation '" + std::string(kind.name) +
                                         "' lacks the argument '" +
                                         std::string(kind.parameters[i].name) + "'");
        }
        // Kernels read stored floating numbers; stored integers only feed other stored forms.
        const bool anyType = kind.nature == OperationKind::Nature::storedConstant;
        for (ValueId& id : operands[i]) {
            const ElementType element = graph.values.views[id].type.element;
            const bool floating = element == ElementType::fp16 || element == ElementType::fp32;
            if (!kind.parameters[i].stored || (!anyType && !floating)) {
                id = dense(id, lastLine);
            }
        }
    }
    return operands;
}

void GraphBuilder::refuseStates(const OperationKind& kind, const Call::Operands& operands,
                                const syntax::Statement& statement) const
{
    const bool takesState = kind.nature == OperationKind::Nature::readsState ||
                            kind.nature == OperationKind::Nature::writesState;
    for (std::size_t i = 0; i < operands.size(); ++i) {
        const bool wantsState = takesState && kind.parameters[i].name == "input";
        for (ValueId id : operands[i]) {
            const bool isState =
                std::find(graph.stateIds.begin(), graph.stateIds.end(), id) != graph.stateIds.end();
            if (isState != wantsState) {
                fail(statement.position, "operation '" + std::string(kind.name) + "' takes " +
                                             (wantsState ? "a state" : "no state") + " as '" +
                                             std::string(kind.parameters[i].name) + "'");
            }
        }
    }
}

void GraphBuilder::bind(const Parameter& parameter, const syntax::Binding& binding,
                        std::vector<ValueId>& ids)
{
    switch (binding.kind) {
    case syntax::Binding::Kind::reference:
        ids.push_back(resolve(binding.name, binding.position));
        break;
    case syntax::Binding::Kind::value:
        if (program.values[binding.value].type.kind != syntax::Type::Kind::tensor) {
            fail(binding.position, "an argument must be a tensor or a string");
        }
        if (const auto known = materialised.find(binding.value); known != materialised.end()) {
            ids.push_back(known->second);
        } else {
            ids.push_back(materialise(program.values[binding.value]));
            materialised.emplace(binding.value, ids.back());
        }
        break;
    case syntax::Binding::Kind::tuple:
        if (!parameter.variadic) {
            fail(binding.position,
                 "the argument '" + std::string(parameter.name) + "' takes one value");
        }
        for (const syntax::Binding& part : binding.parts) {
            if (part.kind == syntax::Binding::Kind::tuple) {
                fail(part.position, "a tuple inside a tuple is no operand");
            }
            bind(parameter, part, ids);
        }
        break;
    }
}

ValueId GraphBuilder::materialise(const syntax::Value& value)
{
    const TensorType& type = value.type.tensor;
    const ValueId id = addValue(type);
    TensorView& view = graph.values.views[id];
    if (value.type.kind != syntax::Type::Kind::tensor) {
        return id; // nothing reads lists and dictionaries
    }
    if (const auto* string = std::get_if<std::string>(&value.content)) {
        graph.values.texts[id] = &graph.ownedTexts.emplace_back(*string);
    } else if (const auto* numbers = std::get_if<syntax::Numbers>(&value.content)) {
        // The syntax tree is done with its bytes: a value is materialised once.
        auto& bytes = const_cast<std::vector<std::byte>&>(numbers->bytes);
        graph.owned.push_back(bytes.empty() ? emptyBytes() : std::move(bytes));
        view.data = graph.owned.back().data();
        graph.constantBytes[std::string(nameOf(type.element))] += byteCount(type);
    } else if (const auto* blob = std::get_if<syntax::BlobReference>(&value.content)) {
        try {
            const auto bytes = graph.files.record(blob->path, blob->offset, type);
            growBudget();
            view.data =
                bytes.empty() ? graph.owned.emplace_back(emptyBytes()).data() : bytes.data();
            graph.constantBytes[std::string(nameOf(type.element))] += bytes.size();
        } catch (const Error& error) {
            fail(blob->position, error.what());
        }
    }
    graph.values.constants[id] = true;
    return id;
}

/// What stored constants take beside their file (scales as floats, counts of mask bits) is at
/// most 64 times the file, however often the text names a record.
void GraphBuilder::growBudget()
{
    const std::size_t mapped = graph.files.mappedBytes();
    storedBudget += 64 * (mapped - countedFileBytes);
    countedFileBytes = mapped;
}

ValueId GraphBuilder::dense(ValueId id, std::size_t line)
{
    if (graph.values.stored[id] == nullptr) {
        return id;
    }
    if (const auto known = denseForms.find(id); known != denseForms.end()) {
        return known->second;
    }
    const TensorType type = graph.values.views[id].type;
    Node node;
    node.kind = findOperation("expand stored");
    node.operands = {{id}};
    node.line = line;
    node.known = true;
    const ValueId expanded = addValue(type);
    graph.values.constants[expanded] = true;
    node.outputs = {expanded};
    denseForms.emplace(id, expanded);
    const std::size_t bytes = byteCount(type);
    if (bytes <= largestExpanded && bytes <= foldingBudget) {
        foldingBudget -= bytes;
        TensorBuffer buffer{type, own(bytes).data()};
        node.kind->compute(call(node, {&buffer, 1}));
        graph.values.views[expanded].data = buffer.data;
    } else {
        graph.nodes.push_back(std::move(node));
    }
    return expanded;
}

ValueId GraphBuilder::resolve(std::string_view name, syntax::Position position) const
{
    const auto found = names.find(name);
    if (found == names.end()) {
        fail(position, "'" + std::string(name) + "' is not defined here");
    }
    return found->second;
}

} // namespace vorlin::mil
