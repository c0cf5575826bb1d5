#include "MIL/Graph/Call.h"

#include "MIL/Error.h"
#include "MIL/Execution/WorkerPool.h"
#include "MIL/Graph/Operation.h"

#include <algorithm>
#include <stdexcept>

namespace vorlin::mil {

std::string_view Call::operation() const
{
    return kind.name;
}

const std::vector<ValueId>& Call::operand(std::string_view parameter) const
{
    for (std::size_t i = 0; i < kind.parameters.size(); ++i) {
        if (kind.parameters[i].name == parameter) {
            return operands[i];
        }
    }
    throw std::logic_error("operation " + std::string(kind.name) + " has no parameter " +
                           std::string(parameter));
}

ValueId Call::only(std::string_view parameter, std::size_t position) const
{
    const std::vector<ValueId>& ids = operand(parameter);
    if (position >= ids.size()) {
        fail("needs '" + std::string(parameter) + "'");
    }
    return ids[position];
}

std::size_t Call::count(std::string_view parameter) const
{
    return operand(parameter).size();
}

const TensorView& Call::type(std::string_view parameter, std::size_t position) const
{
    const ValueId id = only(parameter, position);
    if (values.texts[id] != nullptr) {
        fail("cannot take a string as '" + std::string(parameter) + "'");
    }
    return values.views[id];
}

const TensorView& Call::input(std::string_view parameter, std::size_t position) const
{
    const TensorView& view = type(parameter, position);
    if (view.data == nullptr) {
        throw NotKnownYet();
    }
    return view;
}

const StoredValues* Call::stored(std::string_view parameter) const
{
    return has(parameter) ? values.stored[only(parameter, 0)] : nullptr;
}

bool Call::isConstant(std::string_view parameter) const
{
    return has(parameter) && values.constants[only(parameter, 0)];
}

std::int64_t Call::integer(std::string_view parameter) const
{
    const TensorView& view = input(parameter);
    if (isFloat(view.type.element) || view.elements() != 1) {
        fail("needs one integer as '" + std::string(parameter) + "'");
    }
    return bounded(view.integer(0));
}

std::int64_t Call::integer(std::string_view parameter, std::int64_t otherwise) const
{
    return has(parameter) ? integer(parameter) : otherwise;
}

std::int64_t Call::bounded(std::int64_t value) const
{
    constexpr std::int64_t limit = std::int64_t{1} << 40;
    if (value < -limit || value > limit) {
        fail("cannot work with the number " + std::to_string(value));
    }
    return value;
}

double Call::number(std::string_view parameter, double otherwise) const
{
    if (!has(parameter)) {
        return otherwise;
    }
    const TensorView& view = input(parameter);
    if (view.elements() != 1) {
        fail("needs one number as '" + std::string(parameter) + "'");
    }
    return view.number(0);
}

bool Call::flag(std::string_view parameter, bool otherwise) const
{
    return has(parameter) ? integer(parameter) != 0 : otherwise;
}

std::string_view Call::text(std::string_view parameter, std::string_view otherwise) const
{
    if (!has(parameter)) {
        return otherwise;
    }
    const std::string* text = values.texts[only(parameter, 0)];
    if (text == nullptr) {
        fail("needs a string as '" + std::string(parameter) + "'");
    }
    return *text;
}

std::string Call::word(std::string_view parameter, std::string_view otherwise) const
{
    std::string word(text(parameter, otherwise));
    for (char& c : word) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return word;
}

Extents Call::integers(std::string_view parameter, std::size_t position) const
{
    const TensorView& view = input(parameter, position);
    if (isFloat(view.type.element) || view.rank() > 1 ||
        view.elements() > static_cast<std::int64_t>(Extents::capacity)) {
        fail("needs a short list of integers as '" + std::string(parameter) + "'");
    }
    Extents result;
    for (std::int64_t i = 0; i < view.elements(); ++i) {
        result.push(bounded(view.integer(i)));
    }
    return result;
}

Extents Call::integers(std::string_view parameter, const Extents& otherwise) const
{
    return has(parameter) ? integers(parameter) : otherwise;
}

std::size_t Call::axis(std::string_view parameter, std::int64_t otherwise, std::size_t rank) const
{
    const std::int64_t value = integer(parameter, otherwise);
    const auto limit = static_cast<std::int64_t>(rank);
    if (value < -limit || value >= limit) {
        fail("has no axis " + std::to_string(value) + " in a tensor of rank " +
             std::to_string(rank));
    }
    return static_cast<std::size_t>(value < 0 ? value + limit : value);
}

Extents Call::axes(std::string_view parameter, std::size_t rank) const
{
    Extents result;
    if (!has(parameter)) {
        for (std::size_t i = 0; i < rank; ++i) {
            result.push(static_cast<std::int64_t>(i));
        }
        return result;
    }
    for (std::int64_t axis : integers(parameter)) {
        const auto limit = static_cast<std::int64_t>(rank);
        if (axis < -limit || axis >= limit) {
            fail("has no axis " + std::to_string(axis) + " in a tensor of rank " +
                 std::to_string(rank));
        }
        result.push(axis < 0 ? axis + limit : axis);
    }
    std::sort(result.begin(), result.end());
    if (std::adjacent_find(result.begin(), result.end()) != result.end()) {
        fail("names an axis twice");
    }
    return result;
}

void Call::fail(const std::string& what) const
{
    throw Error("operation '" + std::string(kind.name) + "' " + what);
}

void Call::parallel(std::int64_t count, std::int64_t grain,
                    FunctionRef<void(std::int64_t, std::int64_t)> task) const
{
    grain = std::max<std::int64_t>(grain, 1);
    const std::int64_t pieces = (count + grain - 1) / grain;
    const auto piece = [&](std::size_t index) {
        if (execution.mustStop()) {
            throw Stopped();
        }
        const std::int64_t begin = static_cast<std::int64_t>(index) * grain;
        task(begin, std::min(begin + grain, count));
    };
    if (execution.pool == nullptr) {
        for (std::int64_t i = 0; i < pieces; ++i) {
            piece(static_cast<std::size_t>(i));
        }
        return;
    }
    execution.pool->run(static_cast<std::size_t>(pieces), execution.threads, piece);
}

void Call::checkStop() const
{
    if (execution.mustStop()) {
        throw Stopped();
    }
}

void Call::checkScratch(std::size_t bytes) const
{
    if (bytes > execution.largestScratch) {
        fail("needs " + std::to_string(bytes >> 20) + " MiB to work in, more than allowed");
    }
}

void Call::spend(std::size_t bytes) const
{
    if (execution.loadBudget == nullptr) {
        return;
    }
    if (bytes > *execution.loadBudget) {
        fail("expands to far more than the files hold");
    }
    *execution.loadBudget -= bytes;
}

std::byte* Call::scratch(std::size_t bytes) const
{
    checkScratch(bytes);
    constexpr std::size_t alignment = 64;
    if (execution.scratch->size() < bytes + alignment) {
        execution.scratch->clear(); // nothing to carry over when it moves
        execution.scratch->resize(bytes + alignment);
    }
    const auto address = reinterpret_cast<std::uintptr_t>(execution.scratch->data());
    return execution.scratch->data() + (alignment - address % alignment) % alignment;
}

std::size_t wrapAxis(std::int64_t axis, std::size_t rank)
{
    const auto limit = static_cast<std::int64_t>(rank);
    if (axis < -limit || axis >= limit) {
        throw Error("there is no axis " + std::to_string(axis) + " in a tensor of rank " +
                    std::to_string(rank));
    }
    return static_cast<std::size_t>(axis < 0 ? axis + limit : axis);
}

} // namespace vorlin::mil
