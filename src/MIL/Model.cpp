#include "MIL/Model.h"

#include "MIL/Execution/Executor.h"
#include "MIL/Execution/WorkerPool.h"
#include "MIL/Graph/Graph.h"
#include "MIL/Padding.h"
#include "MIL/Parser/Parser.h"
#include "MIL/Signature.h"
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

} // namespace

struct Model::Implementation {
    Implementation(const std::filesystem::path& bundle, const Options& options)
        : graph(loadGraph(bundle, options)),
          executor(graph, {.threads = options.threads,
                           .referenceKernels = options.referenceKernels,
                           .sumVectors = options.sumVectors,
                           .largeProducts = options.largeProducts,
                           .largestBuffers = options.largestBuffers}),
          signature(graph)
    {
    }

    void run(std::int64_t length, Look look, const std::atomic<bool>* stop, Urgency urgency);

    Graph graph;
    Executor executor;
    Signature signature;
    /// By position: what holds frames, and what says how many count; once the program was
    /// shortened.
    struct Frames {
        std::size_t data = 0;
        std::size_t axis = 0;
        std::size_t length = 0;
    };
    std::optional<Frames> frames;
    std::string noShorterForm;
    // Of the prediction under way:
    Signature::Arranged arranged;
    std::vector<std::byte> fewer; // frames
    std::vector<TensorView> shown;
    std::mutex turn;
};

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
    return implementation->signature.inputs;
}
const std::vector<FeatureDescription>& Model::outputs() const
{
    return implementation->signature.outputs;
}
const std::vector<FeatureDescription>& Model::states() const
{
    return implementation->signature.states;
}

void Model::readWeights(const std::atomic<bool>& stop) const
{
    implementation->graph.files.readIn(stop);
}

void Model::prepare(const std::atomic<bool>& stop) const
{
    bool more = true;
    for (std::size_t piece = 0; more && !stop; ++piece) {
        const std::lock_guard guard(implementation->turn);
        more = implementation->executor.prepare(piece, stop);
    }
}

/// Computes at a length, or at the full one if it is 0, what is arranged. Under the hold of `turn`.
void Model::Implementation::run(std::int64_t length, Look look, const std::atomic<bool>* stop,
                                Urgency urgency)
{
    if (length != 0) {
        TensorView& data = arranged.inputs[frames->data];
        Shape part = data.shape();
        part[frames->axis] = length;
        if (product(part, 0, frames->axis) != 1) {
            cutDown(data, part, fewer);
            data.data = fewer.data();
        }
        data.type.shape = part;
    }
    executor.run(arranged.inputs, length, stop,
                 urgency == Urgency::background ? WorkerPool::Kind::background
                                                : WorkerPool::Kind::foreground);
    const auto& outputs = signature.outputs;
    std::vector<std::vector<std::byte>> wider(length != 0 ? outputs.size() : 0);
    shown.clear();
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const TensorView& view = executor.output(i);
        if (length != 0 && view.shape() != outputs[i].type.shape) {
            wider[i] = padded(view, outputs[i].type.shape);
            shown.push_back({outputs[i].type, wider[i].data()});
        } else {
            shown.push_back(view);
        }
    }
    look(shown);
}

void Model::predict(std::int64_t length, std::span<const NamedInput> inputs, Look look,
                    const std::atomic<bool>* stop, Urgency urgency)
{
    const std::lock_guard guard(implementation->turn);
    auto& arranged = implementation->arranged;
    if (length == 0) {
        implementation->signature.arrange(inputs, arranged);
    } else {
        const std::vector<std::int64_t> known = implementation->executor.lengths();
        if (std::find(known.begin(), known.end(), length) == known.end()) {
            throw Error("the model cannot compute at length " + std::to_string(length));
        }
        implementation->signature.arrange(inputs, arranged);
        const auto counting = arranged.inputs[implementation->frames->length].integer(0);
        if (counting > length) {
            throw Error(std::to_string(counting) + " frames do not fit into length " +
                        std::to_string(length));
        }
    }
    implementation->run(length, look, stop, urgency);
}

namespace {

/// The outputs of a prediction that shows them, copied.
template <class Predict>
std::vector<NamedOutput> copied(const std::vector<FeatureDescription>& outputs,
                                const Predict& predict)
{
    std::vector<NamedOutput> results;
    predict([&](std::span<const TensorView> shown) {
        results.reserve(shown.size());
        for (std::size_t i = 0; i < shown.size(); ++i) {
            results.push_back({outputs[i].name,
                               shown[i].type,
                               {shown[i].data, shown[i].data + byteCount(shown[i].type)}});
        }
    });
    return results;
}

} // namespace

std::vector<NamedOutput> Model::predict(std::span<const NamedInput> inputs,
                                        const std::atomic<bool>* stop, Urgency urgency)
{
    return copied(outputs(), [&](Look look) { predict(0, inputs, look, stop, urgency); });
}

std::vector<NamedOutput> Model::predictAt(std::int64_t length, std::span<const NamedInput> inputs,
                                          const std::atomic<bool>* stop, Urgency urgency)
{
    if (length == 0) {
        throw Error("the model cannot compute at length 0");
    }
    return copied(outputs(), [&](Look look) { predict(length, inputs, look, stop, urgency); });
}

std::string Model::shorten(const LengthInput& input, std::vector<std::int64_t> lengths)
{
    const std::lock_guard guard(implementation->turn);
    const std::size_t data = implementation->signature.position(input.data);
    const std::size_t length = implementation->signature.position(input.length);
    const auto& inputs = implementation->signature.inputs;
    if (data == inputs.size() || length == inputs.size() ||
        input.axis >= inputs[data].type.shape.size() || bitsOf(inputs[data].type.element) < 8) {
        throw Error("the model has no inputs '" + input.data + "' and '" + input.length +
                    "' of a length");
    }
    const TensorType& count = inputs[length].type;
    const std::int64_t full = inputs[data].type.shape[input.axis];
    if (isFloat(count.element) || !isKnown(count.shape) || elementCount(count.shape) != 1) {
        throw Error("the input '" + input.length + "' is not one integer");
    }
    if (implementation->frames) {
        return implementation->noShorterForm;
    }
    implementation->frames = Implementation::Frames{data, input.axis, length};
    for (const FeatureDescription& output : implementation->signature.outputs) {
        if (!isKnown(output.type.shape)) {
            return implementation->noShorterForm =
                       "the output '" + output.name + "' has an unknown extent";
        }
    }
    std::sort(lengths.begin(), lengths.end());
    lengths.erase(std::unique(lengths.begin(), lengths.end()), lengths.end());
    std::erase_if(lengths, [&](std::int64_t one) { return one <= 0 || one >= full; });
    if (lengths.empty() || !isKnown(inputs[data].type.shape)) {
        return implementation->noShorterForm =
                   "no length is shorter than " + describe(inputs[data].type);
    }
    try {
        implementation->executor.add(
            solveLengths(implementation->graph, data, input.axis, lengths));
    } catch (const NoShorterForm& why) {
        implementation->noShorterForm = why.what();
    } catch (const Error& error) {
        implementation->noShorterForm = error.what();
    }
    return implementation->noShorterForm;
}

std::vector<std::int64_t> Model::shorterLengths() const
{
    const std::lock_guard guard(implementation->turn);
    return implementation->executor.lengths();
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
