#include "MIL/Graph/GraphBuilder.h"

#include "MIL/Error.h"
#include "MIL/Parser/Lexer.h"
#include "MIL/Parser/Parser.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vorlin::mil {

namespace {

/// 15 for `ios15` or `CoreML5`, and so on; words nobody knows mean the newest semantics.
int opsetOf(std::string_view tag)
{
    const std::size_t digits = tag.find_first_of("0123456789");
    int number = 0;
    if (digits != std::string_view::npos) {
        std::from_chars(tag.data() + digits, tag.data() + tag.size(), number);
    }
    if (tag.starts_with("CoreML") && number >= 5) {
        number += 10;
    }
    return number >= 15 ? number : 18;
}

} // namespace

std::string disagreement(const TensorType& declared, const TensorType& inferred)
{
    bool agrees =
        declared.element == inferred.element && declared.shape.size() == inferred.shape.size();
    for (std::size_t i = 0; agrees && i < declared.shape.size(); ++i) {
        agrees = declared.shape[i] == Extents::unknown || declared.shape[i] == inferred.shape[i];
    }
    return agrees ? "" : "is declared " + describe(declared) + " but is " + describe(inferred);
}

Graph buildGraph(std::string_view text, const std::filesystem::path& bundle,
                 std::string_view function, LinksOut linksOut)
{
    syntax::Program program = parseProgram(text);
    const auto named = [&](std::string_view name) {
        return std::find_if(program.functions.begin(), program.functions.end(),
                            [&](const syntax::Function& f) { return f.name == name; });
    };
    for (const syntax::Function& one : program.functions) {
        if (&*named(one.name) != &one) {
            failAt(text, one.position,
                   "the function '" + std::string(one.name) + "' is defined twice");
        }
    }
    auto chosen = named(function.empty() ? "main" : function);
    if (chosen == program.functions.end() && function.empty() && program.functions.size() == 1) {
        chosen = program.functions.begin();
    }
    if (chosen == program.functions.end()) {
        throw Error("model.mil: the program has no function '" +
                    std::string(function.empty() ? "main" : function) + "'");
    }
    Graph graph(bundle, linksOut);
    GraphBuilder(text, program, graph).build(*chosen);
    return graph;
}

void GraphBuilder::build(const syntax::Function& function)
{
    graph.opset = opsetOf(function.opset);
    loading.scratch = &scratch;
    loading.loadBudget = &storedBudget;
    refuseUnknownOperations(function);
    declareParameters(function);
    declareFlexibleShapes(function);
    for (const syntax::Statement& statement : function.statements) {
        addStatement(statement);
    }
    declareOutputs(function);
    removeUnusedNodes();
}

void GraphBuilder::refuseUnknownOperations(const syntax::Function& function) const
{
    std::string list;
    for (const syntax::Statement& statement : function.statements) {
        if (statement.operation != "const" && findOperation(statement.operation) == nullptr) {
            list += list.empty() ? "" : ", ";
            list += "'" + std::string(statement.operation) + "' on line " +
                    std::to_string(lineOf(text, statement.position));
        }
    }
    if (!list.empty()) {
        throw Error("model.mil: unknown operations: " + list);
    }
}

void GraphBuilder::declareParameters(const syntax::Function& function)
{
    for (const syntax::Declaration& parameter : function.parameters) {
        const bool isState = parameter.type.kind == syntax::Type::Kind::state;
        const TensorType& type = parameter.type.tensor;
        if ((parameter.type.kind != syntax::Type::Kind::tensor && !isState) ||
            bitsOf(type.element) < 8) {
            fail(parameter.position, "a parameter must be a tensor of numbers");
        }
        if (isState && !isKnown(type.shape)) {
            fail(parameter.position, "a state needs a type without '?'");
        }
        const ValueId id = addValue(type);
        name(parameter.name, id, parameter.position);
        (isState ? graph.states : graph.inputs).push_back({std::string(parameter.name), type});
        (isState ? graph.stateIds : graph.inputIds).push_back(id);
    }
}

/// Inputs the function does not have are left out; the others must have their input's rank.
void GraphBuilder::declareFlexibleShapes(const syntax::Function& function)
{
    const auto take = [&](const FlexibleShapes::Configuration& from,
                          FlexibleShapes::Configuration& to) {
        for (const FlexibleShapes::Entry& entry : from) {
            const auto input =
                std::find_if(graph.inputs.begin(), graph.inputs.end(),
                             [&](const Feature& f) { return f.name == entry.input; });
            if (input == graph.inputs.end()) {
                continue;
            }
            if (input->type.shape.size() != entry.range.least.size()) {
                fail(function.position, "the input '" + entry.input + "' is declared " +
                                            describe(input->type) + " but accepts shapes of rank " +
                                            std::to_string(entry.range.least.size()));
            }
            to.push_back(entry);
        }
    };
    take(function.flexible.defaults, graph.flexible.defaults);
    for (const FlexibleShapes::Configuration& configuration : function.flexible.configurations) {
        FlexibleShapes::Configuration known;
        take(configuration, known);
        if (!known.empty()) {
            graph.flexible.configurations.push_back(std::move(known));
        }
    }
}

void GraphBuilder::declareOutputs(const syntax::Function& function)
{
    for (const syntax::Reference& output : function.outputs) {
        const ValueId id = dense(resolve(output.name, output.position), 0);
        const TensorType& type = graph.values.views[id].type;
        const bool isState =
            std::find(graph.stateIds.begin(), graph.stateIds.end(), id) != graph.stateIds.end();
        if (graph.values.texts[id] != nullptr || bitsOf(type.element) < 8 || isState) {
            fail(output.position,
                 "the output '" + std::string(output.name) + "' must be a tensor of numbers");
        }
        // A network that returns one value twice is exported with its name twice: one output.
        const auto same = [&](const Feature& f) { return f.name == output.name; };
        if (std::any_of(graph.outputs.begin(), graph.outputs.end(), same)) {
            continue;
        }
        graph.outputs.push_back({std::string(output.name), type});
        graph.outputIds.push_back(id);
    }
}

void GraphBuilder::addStatement(const syntax::Statement& statement)
{
    for (const syntax::Declaration& output : statement.outputs) {
        if (output.type.kind != syntax::Type::Kind::tensor) {
            if (statement.operation == "const") {
                continue;
            }
            fail(output.position, "an operation's output must be a tensor");
        }
    }
    if (statement.operation == "const") {
        addConstant(statement);
        return;
    }
    Node node;
    node.kind = findOperation(statement.operation);
    // Statements come in order, so lines are counted once through.
    lastLine += static_cast<std::size_t>(
        std::count(text.begin() + static_cast<std::ptrdiff_t>(lastOffset),
                   text.begin() + static_cast<std::ptrdiff_t>(statement.position.offset), '\n'));
    lastOffset = statement.position.offset;
    node.line = lastLine;
    node.operands = bindOperands(*node.kind, statement);
    if (node.kind->nature == OperationKind::Nature::storedConstant) {
        addStored(node, statement);
    } else {
        addNode(std::move(node), statement);
    }
}

void GraphBuilder::addConstant(const syntax::Statement& statement)
{
    const auto isValue = [](const syntax::Argument& a) { return a.name == "val"; };
    const syntax::Argument* found = nullptr;
    for (const auto* list : {&statement.attributes, &statement.arguments}) {
        const auto at = std::find_if(list->begin(), list->end(), isValue);
        found = at == list->end() ? found : &*at;
    }
    if (statement.outputs.size() != 1 || found == nullptr ||
        found->binding.kind != syntax::Binding::Kind::value) {
        fail(statement.position, "a 'const' needs one output and its value 'val'");
    }
    const syntax::Declaration& output = statement.outputs.front();
    const syntax::Value& value = program.values[found->binding.value];
    if (output.type.kind != value.type.kind) {
        fail(value.position, "the value is not of the declared type");
    }
    if (output.type.kind == syntax::Type::Kind::tensor) {
        const std::string wrong = disagreement(output.type.tensor, value.type.tensor);
        if (!wrong.empty()) {
            fail(value.position, "'" + std::string(output.name) + "' " + wrong);
        }
    }
    name(output.name, materialise(value), output.position);
}

void GraphBuilder::removeUnusedNodes()
{
    std::vector<bool> used(graph.values.views.size());
    for (ValueId id : graph.outputIds) {
        used[id] = true;
    }
    std::vector<Node> kept;
    // NOLINTNEXTLINE(modernize-loop-convert): backwards
    for (auto node = graph.nodes.rbegin(); node != graph.nodes.rend(); ++node) {
        const bool needed = node->kind->nature == OperationKind::Nature::writesState ||
                            std::any_of(node->outputs.begin(), node->outputs.end(),
                                        [&](ValueId id) { return used[id]; });
        if (!needed) {
            continue;
        }
        for (const auto& ids : node->operands) {
            for (ValueId id : ids) {
                used[id] = true;
            }
        }
        kept.push_back(std::move(*node));
    }
    std::reverse(kept.begin(), kept.end());
    graph.nodes = std::move(kept);
}

ValueId GraphBuilder::addValue(const TensorType& type)
{
    graph.values.views.push_back({type, nullptr});
    graph.values.stored.push_back(nullptr);
    graph.values.texts.push_back(nullptr);
    graph.values.constants.push_back(false);
    graph.values.declared.push_back(type.shape);
    graph.slipped.push_back(false);
    return static_cast<ValueId>(graph.values.views.size() - 1);
}

void GraphBuilder::name(std::string_view name, ValueId id, syntax::Position position)
{
    if (!names.emplace(name, id).second) {
        fail(position, "'" + std::string(name) + "' is defined twice");
    }
}

std::vector<std::byte>& GraphBuilder::own(std::size_t bytes)
{
    return graph.owned.emplace_back(std::max<std::size_t>(bytes, 64));
}

void GraphBuilder::fail(syntax::Position position, const std::string& what) const
{
    failAt(text, position, what);
}

} // namespace vorlin::mil
