// What solving makes of constants: cut axes and lists of other numbers.
#include "MIL/Lengths/LengthSolver.h"

#include <algorithm>
#include <cstring>

namespace vorlin::mil {

ValueId LengthSolver::addValue(const TensorType& type)
{
    table.views.push_back({type, nullptr});
    table.stored.push_back(nullptr);
    table.texts.push_back(nullptr);
    table.constants.push_back(true);
    table.declared.push_back(type.shape);
    return static_cast<ValueId>(table.views.size() - 1);
}

std::byte* LengthSolver::own(std::size_t count)
{
    return owned.emplace_back(std::max<std::size_t>(count, 64)).data();
}

/// Whether the node only expands a stored constant: for a demand its output is a constant.
bool LengthSolver::computesDense(std::size_t node) const
{
    return graph.nodes[node].kind->name == "expand stored";
}

/// The constant with a shorter axis. Where the part lies in one piece it is looked at where it is,
/// else a slice in front of the node copies it in each prediction.
ValueId LengthSolver::cut(ValueId id, std::size_t axis, const Window& window)
{
    const TensorView whole = table.views[id];
    const std::size_t bits = bitsOf(whole.type.element);
    if (axis >= whole.rank() || bits < 8) {
        refuse(current, "an operand cannot be cut");
    }
    for (std::size_t k = 0; k < lengths.size(); ++k) {
        if (window.starts[k] < 0 || window.extents[k] <= 0 ||
            window.extents[k] > whole.extent(axis) - window.starts[k]) {
            refuse(current, "an operand is too short to be cut");
        }
    }
    const auto known = courses.find(id);
    const bool once = known == courses.end();
    if (!once || whole.data == nullptr || product(whole.shape(), 0, axis) != 1) {
        return slice(id, axis, window);
    }
    const ValueId result = addValue(whole.type);
    table.views[result].data = whole.data;
    const std::int64_t row =
        product(whole.shape(), axis + 1, whole.rank()) * static_cast<std::int64_t>(bits / 8);
    Course course;
    for (std::size_t k = 0; k < lengths.size(); ++k) {
        course.shapes.push_back(whole.shape());
        course.shapes.back()[axis] = window.extents[k];
        course.data.push_back(whole.data + window.starts[k] * row);
    }
    courses.emplace(result, std::move(course));
    return result;
}

ValueId LengthSolver::slice(ValueId id, std::size_t axis, const Window& window)
{
    const TensorType type = table.views[id].type;
    const std::size_t rank = type.shape.size();
    std::vector<Node>& before = built[current].before;
    if (table.stored[id] != nullptr) {
        Node expand;
        expand.kind = findOperation("expand stored");
        expand.operands = {{id}};
        expand.line = graph.nodes[current].line;
        expand.known = true;
        expand.outputs = {addValue(type)};
        id = expand.outputs.front();
        before.push_back(std::move(expand));
    }
    // An axis that was cut before ends where it then does.
    const TensorType bounds{ElementType::int32, {static_cast<std::int64_t>(rank)}};
    const auto bound = [&](bool isEnd) {
        const ValueId result = addValue(bounds);
        Course course;
        for (std::size_t k = 0; k < lengths.size(); ++k) {
            const TensorBuffer numbers{bounds, own(byteCount(bounds))};
            const auto known = courses.find(id);
            for (std::size_t i = 0; i < rank; ++i) {
                const std::int64_t whole =
                    known == courses.end() ? type.shape[i] : known->second.shapes[k][i];
                const std::int64_t number = i == axis
                                                ? window.starts[k] + (isEnd ? window.extents[k] : 0)
                                                : (isEnd ? whole : 0);
                numbers.set(static_cast<std::int64_t>(i), static_cast<double>(number));
            }
            course.shapes.push_back(bounds.shape);
            course.data.push_back(numbers.data);
        }
        table.views[result].data = course.data.front();
        courses.emplace(result, std::move(course));
        return result;
    };
    Node node;
    node.kind = findOperation("slice_by_index");
    node.operands.resize(node.kind->parameters.size());
    node.operands[0] = {id};
    node.operands[1] = {bound(false)};
    node.operands[2] = {bound(true)};
    node.line = graph.nodes[current].line;
    node.known = true;
    node.outputs = {addValue(type)};
    infer(node);
    before.push_back(node);
    return node.outputs.front();
}

/// A list of integers with some of them replaced.
ValueId LengthSolver::list(ValueId id, const std::map<std::size_t, Series>& entries)
{
    const TensorView whole = table.views[id];
    const auto count = static_cast<std::size_t>(whole.data == nullptr ? 0 : whole.elements());
    if (whole.rank() > 1 || count > Extents::capacity || isFloat(whole.type.element) ||
        bitsOf(whole.type.element) < 16 || entries.empty() || entries.rbegin()->first >= count) {
        refuse(current, "a list cannot be solved");
    }
    const ValueId result = addValue(whole.type);
    Course course;
    for (std::size_t k = 0; k < lengths.size(); ++k) {
        const TensorBuffer numbers{whole.type, own(byteCount(whole.type))};
        std::memcpy(numbers.data, whole.data, byteCount(whole.type));
        for (const auto& [entry, series] : entries) {
            numbers.set(static_cast<std::int64_t>(entry), static_cast<double>(series[k]));
        }
        course.shapes.push_back(whole.shape());
        course.data.push_back(numbers.data);
    }
    table.views[result].data = whole.data;
    courses.emplace(result, std::move(course));
    return result;
}

} // namespace vorlin::mil
