#include "MIL/Model.h"

#include "MIL/Execution/Executor.h"
#include "MIL/Graph/Graph.h"
#include "MIL/Parser/Parser.h"
#include "MIL/Weights/MappedFile.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <utility>

namespace vorlin::mil {

namespace {

MappedFile openText(const std::filesystem::path& bundle)
{
    std::error_code failure;
    if (!std::filesystem::is_directory(bundle, failure)) {
        throw Error("there is no bundle " + bundle.string());
    }
    return MappedFile(bundle / "model.mil");
}

/// The value of "defaultFunctionName" in the bundle's metadata, empty if it says nothing.
std::string defaultFunction(const std::filesystem::path& bundle)
{
    std::error_code failure;
    if (!std::filesystem::is_regular_file(bundle / "metadata.json", failure)) {
        return {};
    }
    const MappedFile file(bundle / "metadata.json");
    const std::string_view text = file.text();
    constexpr std::string_view key = "\"defaultFunctionName\"";
    std::size_t at = text.find(key);
    at = at == std::string_view::npos ? at : text.find_first_not_of(" \t\r\n", at + key.size());
    if (at == std::string_view::npos || text[at] != ':') {
        return {};
    }
    at = text.find_first_not_of(" \t\r\n", at + 1);
    if (at == std::string_view::npos || text[at] != '"') {
        return {};
    }
    const std::size_t end = text.find('"', at + 1);
    return end == std::string_view::npos ? std::string()
                                         : std::string(text.substr(at + 1, end - at - 1));
}

Graph loadGraph(const std::filesystem::path& bundle, const std::string& function)
{
    const MappedFile file = openText(bundle);
    return buildGraph(file.text(), bundle, function.empty() ? defaultFunction(bundle) : function);
}

std::vector<FeatureDescription> describeAll(const std::vector<Feature>& features)
{
    std::vector<FeatureDescription> result;
    for (const Feature& feature : features) {
        result.push_back({feature.name, feature.type});
    }
    return result;
}

} // namespace

struct Model::Implementation {
    Implementation(const std::filesystem::path& bundle, const Options& options)
        : graph(loadGraph(bundle, options.function)),
          executor(graph, {.threads = options.threads,
                           .referenceKernels = options.referenceKernels,
                           .largestBuffers = options.largestBuffers}),
          inputs(describeAll(graph.inputs)), outputs(describeAll(graph.outputs)),
          states(describeAll(graph.states))
    {
    }

    /// The inputs in the order of the signature.
    std::vector<TensorView> arrange(std::span<const NamedInput> given) const;

    Graph graph;
    Executor executor;
    std::vector<FeatureDescription> inputs;
    std::vector<FeatureDescription> outputs;
    std::vector<FeatureDescription> states;
    std::mutex turn;
};

std::vector<TensorView> Model::Implementation::arrange(std::span<const NamedInput> given) const
{
    std::vector<TensorView> result(inputs.size());
    std::vector<bool> filled(inputs.size());
    for (const NamedInput& input : given) {
        const auto found =
            std::find_if(inputs.begin(), inputs.end(),
                         [&](const FeatureDescription& f) { return f.name == input.name; });
        if (found == inputs.end()) {
            throw Error("the model has no input '" + std::string(input.name) + "'");
        }
        const auto position = static_cast<std::size_t>(found - inputs.begin());
        if (filled[position]) {
            throw Error("the input '" + found->name + "' is given twice");
        }
        if (!isKnown(input.tensor.type.shape)) {
            throw Error("the input '" + found->name + "' has an unknown extent");
        }
        const std::string wrong = disagreement(found->type, input.tensor.type);
        if (!wrong.empty()) {
            throw Error("the input '" + found->name + "' " + wrong);
        }
        if (input.tensor.data == nullptr && input.tensor.elements() != 0) {
            throw Error("the input '" + found->name + "' has no data");
        }
        result[position] = input.tensor;
        filled[position] = true;
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!filled[i]) {
            throw Error("the input '" + inputs[i].name + "' is missing");
        }
    }
    return result;
}

Model::Model(std::unique_ptr<Implementation> implementation)
    : implementation(std::move(implementation))
{
}
Model::Model(Model&&) noexcept = default;
Model& Model::operator=(Model&&) noexcept = default;
Model::~Model() = default;

Model Model::load(const std::filesystem::path& bundle, const Options& options)
{
    return Model(std::make_unique<Implementation>(bundle, options));
}

const std::vector<FeatureDescription>& Model::inputs() const
{
    return implementation->inputs;
}
const std::vector<FeatureDescription>& Model::outputs() const
{
    return implementation->outputs;
}
const std::vector<FeatureDescription>& Model::states() const
{
    return implementation->states;
}

std::vector<NamedOutput> Model::predict(std::span<const NamedInput> inputs,
                                        const std::stop_token& stop)
{
    const std::lock_guard guard(implementation->turn);
    Executor& executor = implementation->executor;
    executor.run(implementation->arrange(inputs), stop);
    std::vector<NamedOutput> results;
    results.reserve(implementation->outputs.size());
    for (std::size_t i = 0; i < implementation->outputs.size(); ++i) {
        const TensorView& view = executor.output(i);
        results.push_back({implementation->outputs[i].name,
                           view.type,
                           {view.data, view.data + byteCount(view.type)}});
    }
    return results;
}

void Model::resetStates()
{
    const std::lock_guard guard(implementation->turn);
    implementation->executor.resetStates();
}

Model::Statistics Model::statistics() const
{
    const std::lock_guard guard(implementation->turn);
    Statistics statistics;
    for (const Node& node : implementation->graph.nodes) {
        ++statistics.operations[std::string(node.kind->name)];
    }
    statistics.constantBytes = implementation->graph.constantBytes;
    statistics.weightFileBytes = implementation->graph.files.mappedBytes();
    statistics.plannedBufferBytes = implementation->executor.plannedBytes();
    statistics.heldBytes = implementation->executor.heldBytes();
    return statistics;
}

void Model::collectTimes(bool collect)
{
    const std::lock_guard guard(implementation->turn);
    implementation->executor.collectTimes(collect);
}

std::map<std::string, Model::KindTime> Model::times() const
{
    const std::lock_guard guard(implementation->turn);
    std::map<std::string, KindTime> result;
    for (const auto& [kind, spent] : implementation->executor.times()) {
        result[kind] = {spent.calls, spent.time};
    }
    return result;
}

std::vector<std::string> unknownOperations(const std::filesystem::path& bundle)
{
    const MappedFile file = openText(bundle);
    const syntax::Program program = parseProgram(file.text());
    std::set<std::string> names;
    for (const syntax::Function& function : program.functions) {
        for (const syntax::Statement& statement : function.statements) {
            if (statement.operation != "const" && findOperation(statement.operation) == nullptr) {
                names.emplace(statement.operation);
            }
        }
    }
    return {names.begin(), names.end()};
}

} // namespace vorlin::mil
