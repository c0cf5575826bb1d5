#pragma once

#include "MIL/Graph/Graph.h"
#include "MIL/Parser/Syntax.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vorlin::mil {

/// Turns one parsed function into a graph.
class GraphBuilder {
public:
    GraphBuilder(std::string_view text, syntax::Program& program, Graph& graph)
        : text(text), program(program), graph(graph),
          foldingBudget((std::size_t{1} << 20) + 16 * text.size()), storedBudget(foldingBudget)
    {
    }

    void build(const syntax::Function& function);

private:
    void refuseUnknownOperations(const syntax::Function& function) const;
    void declareParameters(const syntax::Function& function);
    void declareFlexibleShapes(const syntax::Function& function);
    void declareOutputs(const syntax::Function& function);
    void addStatement(const syntax::Statement& statement);
    void addConstant(const syntax::Statement& statement);
    void addStored(const Node& node, const syntax::Statement& statement);
    void addNode(Node node, const syntax::Statement& statement);
    void removeUnusedNodes();

    Call::Operands bindOperands(const OperationKind& kind, const syntax::Statement& statement);
    void bind(const Parameter& parameter, const syntax::Binding& binding,
              std::vector<ValueId>& ids);
    void refuseStates(const OperationKind& kind, const Call::Operands& operands,
                      const syntax::Statement& statement) const;
    ValueId materialise(const syntax::Value& value);
    void growBudget();
    ValueId resolve(std::string_view name, syntax::Position position) const;
    /// A value of the same numbers that operations which know only dense tensors can read.
    ValueId dense(ValueId id, std::size_t line);

    ValueId addValue(const TensorType& type);
    void name(std::string_view name, ValueId id, syntax::Position position);
    bool isConstant(const Node& node) const;
    bool hasData(const Node& node) const;
    /// The output types, or nothing if only a prediction can tell.
    std::optional<std::vector<TensorType>> infer(const Node& node,
                                                 const syntax::Statement& statement) const;
    bool fold(const Node& node, const syntax::Statement& statement);
    std::vector<std::byte>& own(std::size_t bytes);
    Call call(const Node& node, std::span<TensorBuffer> outputs) const;
    [[noreturn]] void fail(syntax::Position position, const std::string& what) const;

    std::string_view text;
    syntax::Program& program;
    Graph& graph;
    std::size_t foldingBudget;
    std::size_t storedBudget = 0; // grows with every weight file
    std::size_t countedFileBytes = 0;
    std::unordered_map<std::string_view, ValueId> names;
    std::unordered_map<std::size_t, ValueId> materialised; // by index of the syntax value
    std::unordered_map<ValueId, ValueId> denseForms;
    std::size_t lastLine = 1;
    std::size_t lastOffset = 0;
    Execution loading{};
    mutable std::vector<std::byte> scratch;
};

} // namespace vorlin::mil
