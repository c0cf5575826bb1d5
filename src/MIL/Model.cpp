#include "MIL/Model.h"

#include "MIL/Execution/Executor.h"
#include "MIL/Execution/WorkerPool.h"
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

Graph loadGraph(const std::filesystem::path& bundle, const Model::Options& options)
{
    const MappedFile file = openText(bundle);
    const auto& function = options.function;
    return buildGraph(file.text(), bundle, function.empty() ? defaultFunction(bundle) : function,
                      options.linksOut);
}

std::vector<FeatureDescription> describeAll(const std::vector<Feature>& features)
{
    std::vector<FeatureDescription> result;
    for (const Feature& feature : features) {
        result.push_back({feature.name, feature.type});
    }
    return result;
}

std::vector<FeatureDescription> describeInputs(const Graph& graph)
{
    std::vector<FeatureDescription> result = describeAll(graph.inputs);
    const auto named = [&](const std::string& name) -> FeatureDescription& {
        return *std::find_if(result.begin(), result.end(),
                             [&](const FeatureDescription& f) { return f.name == name; });
    };
    for (const FlexibleShapes::Entry& entry : graph.flexible.defaults) {
        named(entry.input).defaultShape = entry.range.least;
    }
    for (const FlexibleShapes::Configuration& configuration : graph.flexible.configurations) {
        for (const FlexibleShapes::Entry& entry : configuration) {
            std::vector<ShapeRange>& accepted = named(entry.input).accepted;
            if (std::find(accepted.begin(), accepted.end(), entry.range) == accepted.end()) {
                accepted.push_back(entry.range);
            }
        }
    }
    return result;
}

/// "[1, 2] or [1, 4..8]", not too long.
std::string listOf(const std::vector<ShapeRange>& ranges)
{
    constexpr std::size_t most = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(ranges.size(), most); ++i) {
        text += (i == 0 ? "" : " or ") + describe(ranges[i]);
    }
    return text + (ranges.size() > most ? " or others" : "");
}

} // namespace

struct Model::Implementation {
    Implementation(const std::filesystem::path& bundle, const Options& options)
        : graph(loadGraph(bundle, options)),
          executor(graph, {.threads = options.threads,
                           .referenceKernels = options.referenceKernels,
                           .sumVectors = options.sumVectors,
                           .largestBuffers = options.largestBuffers}),
          inputs(describeInputs(graph)), outputs(describeAll(graph.outputs)),
          states(describeAll(graph.states))
    {
    }

    /// The inputs in the order of the signature.
    std::vector<TensorView> arrange(std::span<const NamedInput> given) const;
    std::size_t position(std::string_view name) const;
    void checkCombination(const std::vector<TensorView>& arranged) const;

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
        const std::size_t at = position(input.name);
        if (at == inputs.size()) {
            throw Error("the model has no input '" + std::string(input.name) + "'");
        }
        const FeatureDescription* const found = &inputs[at];
        if (filled[at]) {
            throw Error("the input '" + found->name + "' is given twice");
        }
        if (!isKnown(input.tensor.type.shape)) {
            throw Error("the input '" + found->name + "' has an unknown extent");
        }
        const std::string wrong = disagreement(found->type, input.tensor.type);
        if (!wrong.empty()) {
            throw Error("the input '" + found->name + "' " + wrong);
        }
        if (!found->accepts(input.tensor.type.shape)) {
            throw Error("the input '" + found->name + "' is " + describe(input.tensor.type) +
                        " but the model accepts " + listOf(found->accepted));
        }
        if (input.tensor.data == nullptr && input.tensor.elements() != 0) {
            throw Error("the input '" + found->name + "' has no data");
        }
        result[at] = input.tensor;
        filled[at] = true;
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!filled[i]) {
            throw Error("the input '" + inputs[i].name + "' is missing");
        }
    }
    checkCombination(result);
    return result;
}

/// An input of varying shape needs a configuration that lists it and takes all inputs it lists.
void Model::Implementation::checkCombination(const std::vector<TensorView>& arranged) const
{
    if (graph.flexible.configurations.empty()) {
        return;
    }
    const auto takes = [&](const FlexibleShapes::Configuration& configuration) {
        return std::all_of(configuration.begin(), configuration.end(),
                           [&](const FlexibleShapes::Entry& entry) {
                               return entry.range.contains(arranged[position(entry.input)].shape());
                           });
    };
    std::vector<bool> covered(inputs.size());
    for (const FlexibleShapes::Configuration& configuration : graph.flexible.configurations) {
        if (takes(configuration)) {
            for (const FlexibleShapes::Entry& entry : configuration) {
                covered[position(entry.input)] = true;
            }
        }
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!inputs[i].accepted.empty() && !covered[i]) {
            throw Error("the input '" + inputs[i].name +
                        "' has a shape that the model does not accept with those of the others");
        }
    }
}

std::size_t Model::Implementation::position(std::string_view name) const
{
    return static_cast<std::size_t>(
        std::find_if(inputs.begin(), inputs.end(),
                     [&](const FeatureDescription& f) { return f.name == name; }) -
        inputs.begin());
}

bool FeatureDescription::accepts(const Shape& shape) const
{
    if (!disagreement(type, {type.element, shape}).empty()) {
        return false;
    }
    return accepted.empty() ||
           std::any_of(accepted.begin(), accepted.end(),
                       [&](const ShapeRange& range) { return range.contains(shape); });
}

void onBackgroundThreadStart(std::function<void()> hook)
{
    WorkerPool::onBackgroundStart(std::move(hook));
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
                                        const std::atomic<bool>* stop, Urgency urgency)
{
    const std::lock_guard guard(implementation->turn);
    Executor& executor = implementation->executor;
    executor.run(implementation->arrange(inputs), stop,
                 urgency == Urgency::background ? WorkerPool::Kind::background
                                                : WorkerPool::Kind::foreground);
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
