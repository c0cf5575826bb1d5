// What becomes of an operation: its outputs inferred and checked, then folded, stored or kept.
#include "MIL/Graph/GraphBuilder.h"

#include "MIL/Error.h"

#include <algorithm>
#include <utility>

namespace vorlin::mil {

namespace {

constexpr std::size_t largestFolded = std::size_t{1} << 20;

bool mayDeclareTooSmall(const OperationKind& kind)
{
    return kind.name == "select" || kind.name == "matmul";
}

/// Where a reshape copies an extent of an open shape, the exporter declares the 0 that asks for
/// the copy.
bool declaresZeros(const OperationKind& kind, const Shape& declared)
{
    return kind.name == "reshape" &&
           std::find(declared.begin(), declared.end(), 0) != declared.end();
}

/// Whether such an operation may turn out larger than declared once open extents are known: a
/// `select` whose condition is the wider operand, a `matmul` of a vector and a stack of matrices.
bool mayTurnOutLarger(const Node& node, const ValueTable& values, const Shape& declared)
{
    const auto shapeOf = [&](std::size_t parameter) -> const Shape& {
        return values.views[node.operands[parameter].front()].type.shape;
    };
    if (node.kind->name == "matmul") {
        return shapeOf(0).size() == 1 && shapeOf(1).size() > 2;
    }
    const Shape& condition = shapeOf(0);
    bool larger = condition.size() > declared.size();
    for (std::size_t i = 0; !larger && i < condition.size(); ++i) {
        larger = condition[condition.size() - 1 - i] != 1 && declared[declared.size() - 1 - i] == 1;
    }
    return larger;
}

} // namespace

void GraphBuilder::addNode(Node node, const syntax::Statement& statement)
{
    const auto inferred = infer(node, statement);
    if (inferred && inferred->size() != statement.outputs.size()) {
        fail(statement.position, "operation '" + std::string(node.kind->name) + "' has " +
                                     std::to_string(inferred->size()) + " outputs");
    }
    bool slip = false;
    for (const auto& ids : node.operands) {
        slip = slip ||
               std::any_of(ids.begin(), ids.end(), [&](ValueId id) { return graph.slipped[id]; });
    }
    for (std::size_t i = 0; i < statement.outputs.size(); ++i) {
        const syntax::Declaration& output = statement.outputs[i];
        TensorType type = output.type.tensor;
        if (inferred) {
            const std::string wrong = disagreement(type, (*inferred)[i]);
            const bool excused =
                type.element == (*inferred)[i].element && (slip || mayDeclareTooSmall(*node.kind));
            if (!wrong.empty() && !excused) {
                fail(output.position, "'" + std::string(output.name) + "' " + wrong);
            }
            slip = slip || !wrong.empty();
            type = (*inferred)[i];
        } else {
            slip = slip || declaresZeros(*node.kind, type.shape) ||
                   (mayDeclareTooSmall(*node.kind) &&
                    mayTurnOutLarger(node, graph.values, type.shape));
            if (slip) { // nothing may rely on what is declared
                type.shape = Extents::filled(type.shape.size(), Extents::unknown);
            }
        }
        const ValueId id = addValue(type);
        graph.values.declared[id] = output.type.tensor.shape;
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
    std::vector<TensorBuffer> declared;
    for (const syntax::Declaration& output : statement.outputs) {
        declared.push_back({output.type.tensor, nullptr});
    }
    std::vector<TensorType> types;
    try {
        node.kind->infer(call(node, declared), types);
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
        node.kind->compute(call(node, buffers));
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
        fail(statement.position,
             "operation '" + std::string(node.kind->name) + "' takes constants only");
    }
    const auto inferred = infer(node, statement);
    if (!inferred || inferred->size() != statement.outputs.size()) {
        fail(statement.position,
             "operation '" + std::string(node.kind->name) + "' has other outputs than declared");
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

} // namespace vorlin::mil
