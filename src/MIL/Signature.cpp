#include "MIL/Signature.h"

#include "MIL/Error.h"

#include <algorithm>
#include <string>

namespace vorlin::mil {

namespace {

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

Signature::Signature(const Graph& graph)
    : inputs(describeInputs(graph)), outputs(describeAll(graph.outputs)),
      states(describeAll(graph.states)), flexible(graph.flexible)
{
}

void Signature::arrange(std::span<const NamedInput> given, Arranged& result) const
{
    result.inputs.resize(inputs.size());
    result.filled.assign(inputs.size(), false);
    for (const NamedInput& input : given) {
        const std::size_t at = position(input.name);
        if (at == inputs.size()) {
            throw Error("the model has no input '" + std::string(input.name) + "'");
        }
        const FeatureDescription* const found = &inputs[at];
        if (result.filled[at]) {
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
        result.inputs[at] = input.tensor;
        result.filled[at] = true;
    }
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!result.filled[i]) {
            throw Error("the input '" + inputs[i].name + "' is missing");
        }
    }
    checkCombination(result.inputs);
}

/// An input of varying shape needs a configuration that lists it and takes all inputs it lists.
void Signature::checkCombination(const std::vector<TensorView>& arranged) const
{
    if (flexible.configurations.empty()) {
        return;
    }
    const auto takes = [&](const FlexibleShapes::Configuration& configuration) {
        return std::all_of(configuration.begin(), configuration.end(),
                           [&](const FlexibleShapes::Entry& entry) {
                               return entry.range.contains(arranged[position(entry.input)].shape());
                           });
    };
    std::vector<bool> covered(inputs.size());
    for (const FlexibleShapes::Configuration& configuration : flexible.configurations) {
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

std::size_t Signature::position(std::string_view name) const
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

} // namespace vorlin::mil
