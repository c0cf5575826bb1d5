#include "MIL/Graph/GraphBuilder.h"

#include "MIL/Error.h"
#include "MIL/Parser/Lexer.h"
#include "MIL/Parser/Parser.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vorlin::mil
{

namespace
{

constexpr std::size_t largestFolded = std::size_t{1} << 20;

/// Stored constants up to this size are expanded at load, larger ones where they are used.
constexpr std::size_t largestExpanded = std::size_t{1} << 16;

/// What a tensor without elements points to, so that it does not look unknown.
std::vector<std::byte> emptyBytes() { return std::vector<std::byte>(64); }

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

bool mayDeclareTooSmall(const OperationKind& kind)
{
    return kind.name == "select" || kind.name == "matmul";
}

} // namespace

std::string disagreement(const TensorType& declared, const TensorType& inferred)
{
    bool agrees = declared.element == inferred.element &&
                  declared.shape.size() == inferred.shape.size();
    for (std::size_t i = 0; agrees && i < declared.shape.size(); ++i) {
        agrees = declared.shape[i] == Extents::unknown || declared.shape[i] == inferred.shape[i];
    }
    return agrees ? "" : "is declared " + describe(declared) + " but is " + describe(inferred);
}

Graph buildGraph(std::string_view text, const std::filesystem::path& bundle,
                 std::string_view function)
{
    syntax::Program program = parseProgram(text);
    const auto named = [&](std::string_view name) {
        return std::find_if(program.functions.begin(), program.functions.end(),
                            [&](const syntax::Function& f) { return f.name == name; });
    };
    auto chosen = named(function.empty() ? "main" : function);
    if (chosen == program.functions.end() && function.empty() && program.functions.size() == 1) {
        chosen = program.functions.begin();
    }
    if (chosen == program.functions.end()) {
        throw Error("model.mil: the program has no function '" +
                    std::string(function.empty() ? "main" : function) + "'");
    }
    Graph graph(bundle);
    GraphBuilder(text, program, graph).build(*chosen);
    return graph;
}

void GraphBuilder::build(const syntax::Function& function)
{
    graph.opset = opsetOf(function.opset);
    loading.scratch = &scratch;
    refuseUnknownOperations(function);
    declareParameters(function);
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

void GraphBuilder::declareOutputs(const syntax::Function& function)
{
    for (const syntax::Reference& output : function.outputs) {
        const ValueId id = dense(resolve(output.name, output.position), 0);
        const TensorType& type = graph.values.views[id].type;
        const bool isState = std::find(graph.stateIds.begin(), graph.stateIds.end(), id) !=
                             graph.stateIds.end();
        if (graph.values.texts[id] != nullptr || bitsOf(type.element) < 8 || isState) {
            fail(output.position, "the output '" + std::string(output.name) +
                                      "' must be a tensor of numbers");
        }
        const auto same = [&](const Feature& f) { return f.name == output.name; };
        if (std::any_of(graph.outputs.begin(), graph.outputs.end(), same)) {
            fail(output.position, "the output '" + std::string(output.name) + "' is named twice");
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
            fail(argument.position, "operation '" + std::string(kind.name) +
                                        "' has no argument '" + std::string(argument.name) + "'");
        }
        std::vector<ValueId>& ids =
            operands[static_cast<std::size_t>(parameter - kind.parameters.begin())];
        if (!ids.empty()) {
            fail(argument.position, "the argument '" + std::string(argument.name) +
                                        "' is given twice");
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
            const bool isState = std::find(graph.stateIds.begin(), graph.stateIds.end(), id) !=
                                 graph.stateIds.end();
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
            view.data = bytes.empty() ? graph.owned.emplace_back(emptyBytes()).data()
                                      : bytes.data();
            graph.constantBytes[std::string(nameOf(type.element))] += bytes.size();
        } catch (const Error& error) {
            fail(blob->position, error.what());
        }
    }
    graph.values.constants[id] = true;
    return id;
}

void GraphBuilder::addNode(Node node, const syntax::Statement& statement)
{
    const auto inferred = infer(node, statement);
    if (inferred && inferred->size() != statement.outputs.size()) {
        fail(statement.position, "operation '" + std::string(node.kind->name) + "' has " +
                                     std::to_string(inferred->size()) + " outputs");
    }
    bool slip = false;
    for (const auto& ids : node.operands) {
        slip = slip || std::any_of(ids.begin(), ids.end(),
                                   [&](ValueId id) { return graph.slipped[id]; });
    }
    for (std::size_t i = 0; i < statement.outputs.size(); ++i) {
        const syntax::Declaration& output = statement.outputs[i];
        TensorType type = output.type.tensor;
        if (inferred) {
            const std::string wrong = disagreement(type, (*inferred)[i]);
            const bool excused = type.element == (*inferred)[i].element &&
                                 (slip || mayDeclareTooSmall(*node.kind));
            if (!wrong.empty() && !excused) {
                fail(output.position, "'" + std::string(output.name) + "' " + wrong);
            }
            slip = slip || !wrong.empty();
            type = (*inferred)[i];
        }
        const ValueId id = addValue(type);
        graph.slipped[id] = slip;
        name(output.name, id, output.position);
        node.outputs.push_back(id);
    }
    node.known = inferred.has_value();
    if (!fold(node, statement)) {
        graph.nodes.push_back(std::move(node));
    }
}

std::optional<std::vector<TensorType>> GraphBuilder::infer(const Node& node,
                                                           const syntax::Statement& statement) const
{
    for (const auto& ids : node.operands) {
        for (ValueId id : ids) {
            if (!isKnown(graph.values.views[id].type.shape)) {
                return std::nullopt;
            }
        }
    }
    std::vector<TensorType> types;
    try {
        node.kind->infer(call(node, {}), types);
        for (const TensorType& type : types) {
            byteCount(type); // refuses what no memory holds
        }
    } catch (const NotKnownYet&) {
        return std::nullopt;
    } catch (const Error& error) {
        fail(statement.position, error.what());
    }
    return types;
}

Call GraphBuilder::call(const Node& node, std::span<TensorBuffer> outputs) const
{
    return {*node.kind, node.operands, graph.opset, graph.values, outputs, loading};
}

bool GraphBuilder::isConstant(const Node& node) const
{
    for (const auto& ids : node.operands) {
        for (ValueId id : ids) {
            if (!graph.values.constants[id]) {
                return false;
            }
        }
    }
    return true;
}

bool GraphBuilder::hasData(const Node& node) const
{
    for (const auto& ids : node.operands) {
        for (ValueId id : ids) {
            if (graph.values.views[id].data == nullptr && graph.values.stored[id] == nullptr &&
                graph.values.texts[id] == nullptr) {
                return false;
            }
        }
    }
    return true;
}

bool GraphBuilder::fold(const Node& node, const syntax::Statement& statement)
{
    using Nature = OperationKind::Nature;
    const bool needsNoData = node.kind->name == "shape" && node.known;
    if (!node.known || (!needsNoData && !hasData(node)) ||
        (node.kind->nature != Nature::pure && node.kind->nature != Nature::alias)) {
        return false;
    }
    for (ValueId id : node.outputs) {
        graph.values.constants[id] = true;
    }
    if (node.kind->nature == Nature::alias) {
        graph.values.views[node.outputs.front()].data =
            graph.values.views[node.operands.front().front()].data;
        return true;
    }
    std::size_t total = 0;
    std::vector<TensorBuffer> buffers;
    for (ValueId id : node.outputs) {
        const std::size_t bytes = byteCount(graph.values.views[id].type);
        total += bytes;
        if (bytes > largestFolded || total > foldingBudget) {
            return false; // still constant, but computed by every prediction
        }
    }
    foldingBudget -= total;
    for (ValueId id : node.outputs) {
        const TensorType& type = graph.values.views[id].type;
        buffers.push_back({type, own(byteCount(type)).data()});
    }
    try {
        node.kind->run(call(node, buffers));
    } catch (const Error& error) {
        fail(statement.position, error.what());
    }
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        graph.values.views[node.outputs[i]].data = buffers[i].data;
    }
    return true;
}

void GraphBuilder::addStored(const Node& node, const syntax::Statement& statement)
{
    if (!isConstant(node) || !hasData(node)) {
        fail(statement.position, "operation '" + std::string(node.kind->name) +
                                     "' takes constants only");
    }
    const auto inferred = infer(node, statement);
    if (!inferred || inferred->size() != statement.outputs.size()) {
        fail(statement.position, "operation '" + std::string(node.kind->name) +
                                     "' has other outputs than declared");
    }
    std::vector<StoredOutput> results(inferred->size());
    try {
        node.kind->store(call(node, {}), results);
    } catch (const Error& error) {
        fail(statement.position, error.what());
    }
    for (std::size_t i = 0; i < results.size(); ++i) {
        const syntax::Declaration& output = statement.outputs[i];
        const TensorType& type = (*inferred)[i];
        const std::string wrong = disagreement(output.type.tensor, type);
        if (!wrong.empty()) {
            fail(output.position, "'" + std::string(output.name) + "' " + wrong);
        }
        const ValueId id = addValue(type);
        graph.values.constants[id] = true;
        name(output.name, id, output.position);
        if (results[i].operand != nullptr) {
            graph.values.views[id].data = results[i].operand;
            continue;
        }
        if (results[i].values == nullptr) {
            graph.owned.push_back(std::move(results[i].bytes));
            graph.values.views[id].data = graph.owned.back().data();
            continue;
        }
        graph.values.stored[id] = results[i].values.get();
        graph.ownedStored.push_back(std::move(results[i].values));
    }
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
        node.kind->run(call(node, {&buffer, 1}));
        graph.values.views[expanded].data = buffer.data;
    } else {
        graph.nodes.push_back(std::move(node));
    }
    return expanded;
}

void GraphBuilder::removeUnusedNodes()
{
    std::vector<bool> used(graph.values.views.size());
    for (ValueId id : graph.outputIds) {
        used[id] = true;
    }
    std::vector<Node> kept;
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

ValueId GraphBuilder::resolve(std::string_view name, syntax::Position position) const
{
    const auto found = names.find(name);
    if (found == names.end()) {
        fail(position, "'" + std::string(name) + "' is not defined here");
    }
    return found->second;
}

ValueId GraphBuilder::addValue(const TensorType& type)
{
    graph.values.views.push_back({type, nullptr});
    graph.values.stored.push_back(nullptr);
    graph.values.texts.push_back(nullptr);
    graph.values.constants.push_back(false);
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
