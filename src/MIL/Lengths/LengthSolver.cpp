#include "MIL/Lengths/LengthSolver.h"

#include "MIL/Error.h"
#include "MIL/Lengths/LengthRules.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

/// Derivations of nodes, on average; a real program goes back some ten times, mostly not far.
constexpr std::size_t mostRounds = 16;

} // namespace

LengthSolver::LengthSolver(const Graph& graph, std::size_t input, std::size_t axis,
                           std::span<const std::int64_t> lengths)
    : graph(graph), lengths(lengths.begin(), lengths.end()), table(graph.values),
      constantNodes(graph.nodes.size()), built(graph.nodes.size())
{
    loading.scratch = &scratch;
    const ValueId id = graph.inputIds[input];
    Course course;
    for (std::int64_t length : lengths) {
        course.shapes.push_back(shape(id));
        course.shapes.back()[axis] = length;
    }
    courses.emplace(id, std::move(course));
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const Node& node = graph.nodes[i];
        bool constant = true;
        for (const auto& ids : node.operands) {
            constant = constant && std::all_of(ids.begin(), ids.end(),
                                               [&](ValueId one) { return isConstant(one); });
        }
        constantNodes[i] = constant;
        for (ValueId output : node.outputs) {
            producers.emplace(output, i);
        }
    }
}

ShorterForms LengthSolver::solve()
{
    const std::size_t count = graph.nodes.size();
    for (const Node& node : graph.nodes) {
        if (!node.known) {
            throw NoShorterForm("model.mil:" + std::to_string(node.line) +
                                ": a shape is known to predictions only");
        }
    }
    if (!graph.states.empty()) {
        throw NoShorterForm("the program has states");
    }
    for (current = 0; current < count;) {
        if (++round > mostRounds * (count + 1)) {
            refuse(current, "its lengths depend on each other");
        }
        resumeAt = none;
        derive(current);
        if (resumeAt == none) {
            ++current;
        } else {
            forget(resumeAt, current);
            current = resumeAt;
        }
    }
    return assemble();
}

void LengthSolver::derive(std::size_t node)
{
    built[node] = {{}, graph.nodes[node]};
    satisfyDemands(node);
    bool touched = false;
    for (const auto& ids : built[node].node.operands) {
        touched =
            touched || std::any_of(ids.begin(), ids.end(), [&](ValueId id) { return varies(id); });
    }
    if (!touched) {
        return;
    }
    const LengthRule* const rule = lengthRuleOf(*graph.nodes[node].kind);
    if (rule == nullptr) {
        refuse(node, "there is no rule for it");
    }
    if (rule->forward != nullptr) {
        rule->forward(*this, node);
    }
    if (resumeAt == none) {
        infer(built[node].node);
    }
}

void LengthSolver::forget(std::size_t from, std::size_t to)
{
    for (std::size_t i = from; i <= to; ++i) {
        for (ValueId id : graph.nodes[i].outputs) {
            courses.erase(id);
        }
    }
}

/// Cuts and lists what later nodes have demanded of this one.
void LengthSolver::satisfyDemands(std::size_t node)
{
    const auto found = demands.find(node);
    if (found == demands.end()) {
        return;
    }
    std::map<OperandPlace, std::map<std::size_t, Series>> entries;
    for (const Demand& demand : found->second) {
        ValueId& id = built[node].node.operands[demand.place.parameter][demand.place.position];
        if (demand.isEntry) {
            entries[demand.place][demand.index] = demand.window.extents;
        } else {
            id = cut(id, demand.index, demand.window);
        }
    }
    for (const auto& [place, numbers] : entries) {
        ValueId& id = built[node].node.operands[place.parameter][place.position];
        id = list(id, numbers);
    }
}

/// Finds the outputs' shapes at every length.
void LengthSolver::infer(const Node& node)
{
    std::vector<TensorBuffer> outputs;
    std::vector<Course> found(node.outputs.size());
    for (ValueId id : node.outputs) {
        outputs.push_back({table.views[id].type, nullptr});
    }
    std::vector<ValueId> varying;
    for (const auto& ids : node.operands) {
        std::copy_if(ids.begin(), ids.end(), std::back_inserter(varying),
                     [&](ValueId id) { return varies(id); });
    }
    for (std::size_t k = 0; k < lengths.size(); ++k) {
        std::vector<TensorView> full;
        for (ValueId id : varying) {
            TensorView& view = table.views[id];
            const Course& course = courses.at(id);
            full.push_back(view);
            view.type.shape = course.shapes[k];
            view.data = course.data.empty() ? view.data : course.data[k];
        }
        std::vector<TensorType> types;
        std::string wrong;
        try {
            node.kind->infer(Call(*node.kind, node.operands, graph.opset, table, outputs, loading),
                             types);
        } catch (const Error& error) {
            wrong = error.what();
        } catch (const NotKnownYet&) {
            wrong = "needs what only a prediction knows";
        }
        for (std::size_t i = varying.size(); i-- > 0;) {
            table.views[varying[i]] = full[i];
        }
        if (!wrong.empty() || types.size() != node.outputs.size()) {
            refuse(current, "at length " + std::to_string(lengths[k]) + ": " + wrong);
        }
        for (std::size_t i = 0; i < types.size(); ++i) {
            checkShorter(current, outputs[i].type, types[i]);
            found[i].shapes.push_back(types[i].shape);
        }
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        const bool same = std::all_of(found[i].shapes.begin(), found[i].shapes.end(),
                                      [&](const Shape& s) { return s == outputs[i].shape(); });
        if (!same) {
            courses[node.outputs[i]] = std::move(found[i]);
        }
    }
}

/// No value may be larger than at the full length, nor empty.
void LengthSolver::checkShorter(std::size_t node, const TensorType& full,
                                const TensorType& shorter) const
{
    bool fits = full.element == shorter.element && full.shape.size() == shorter.shape.size();
    for (std::size_t i = 0; fits && i < full.shape.size(); ++i) {
        fits = shorter.shape[i] <= full.shape[i] && (shorter.shape[i] > 0 || full.shape[i] == 0);
    }
    if (!fits) {
        refuse(node, describe(full) + " becomes " + describe(shorter));
    }
}

ShorterForms LengthSolver::assemble() const
{
    ShorterForms result;
    std::set<ValueId> used;
    const auto keep = [&](const Node& node) {
        result.nodes.push_back(node);
        used.insert(node.outputs.begin(), node.outputs.end());
        for (const auto& ids : node.operands) {
            used.insert(ids.begin(), ids.end());
        }
    };
    for (const Built& one : built) {
        std::for_each(one.before.begin(), one.before.end(), keep);
        keep(one.node);
    }
    for (std::size_t k = 0; k < lengths.size(); ++k) {
        ShortForm form{lengths[k], {}};
        for (const auto& [id, course] : courses) {
            if (used.contains(id)) {
                form.settings.push_back(
                    {id, course.shapes[k], course.data.empty() ? nullptr : course.data[k]});
            }
        }
        result.forms.push_back(std::move(form));
    }
    return result;
}

void LengthSolver::refuse(std::size_t node, const std::string& why) const
{
    const Node& where = graph.nodes[node];
    throw NoShorterForm(Error("model.mil:" + std::to_string(where.line) + ": operation '" +
                              std::string(where.kind->name) + "': " + why)
                            .what());
}

void exchange(ValueTable& values, ShortForm& form)
{
    for (ValueSetting& setting : form.settings) {
        TensorView& view = values.views[setting.id];
        std::swap(view.type.shape, setting.shape);
        if (setting.data != nullptr) {
            std::swap(view.data, setting.data);
        }
    }
}

ShorterForms solveLengths(Graph& graph, std::size_t input, std::size_t axis,
                          std::span<const std::int64_t> lengths)
{
    LengthSolver solver(graph, input, axis, lengths);
    ShorterForms forms = solver.solve();
    graph.values = std::move(solver.values());
    graph.slipped.resize(graph.values.views.size());
    std::move(solver.bytes().begin(), solver.bytes().end(), std::back_inserter(graph.owned));
    return forms;
}

} // namespace vorlin::mil
