#include "MIL/Execution/BufferPlan.h"

#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <utility>

namespace vorlin::mil {

namespace {

constexpr std::size_t alignment = 64;

/// As many blocks are held against each other; no real program has more of them.
constexpr std::size_t mostCompared = 4096;

struct Lifetime {
    std::size_t first = 0;
    std::size_t last = 0;
};

class Planner {
public:
    Planner(std::span<const Node> nodes, const ValueTable& values, std::span<const ValueId> outputs,
            const std::vector<std::size_t>& steps)
        : nodes(nodes), values(values), outputs(outputs), steps(steps)
    {
        const std::size_t count = values.views.size();
        plan.homes.resize(count);
        root.resize(count);
        std::iota(root.begin(), root.end(), std::size_t{0});
        owner = root;
        lifetimes.resize(count);
        lastReader.resize(count);
    }

    BufferPlan run()
    {
        findLastReaders();
        findLifetimes();
        placeInArena();
        placeInSlots();
        for (std::size_t id = 0; id < owner.size(); ++id) {
            plan.homes[id].index =
                owner[id] == id ? plan.homes[id].index : plan.homes[owner[id]].index;
        }
        return std::move(plan);
    }

private:
    struct Block {
        std::size_t value;
        std::size_t bytes;
    };

    static bool isAlias(const Node& node)
    {
        return node.kind->nature == OperationKind::Nature::alias;
    }

    /// The last node that reads a value, itself or as an alias; outputs are read in the end.
    void findLastReaders()
    {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Node& node = nodes[i];
            for (const auto& ids : node.operands) {
                for (ValueId id : ids) {
                    lastReader[root[id]] = i;
                }
            }
            if (isAlias(node)) {
                root[node.outputs.front()] = root[node.operands.front().front()];
            }
        }
        for (ValueId id : outputs) {
            lastReader[root[id]] = nodes.size();
        }
    }

    /// The value whose bytes an output of a node can write over: an operand of as many elements of
    /// as many bits, in the arena, that no later node reads. The output itself if there is none.
    std::size_t inheritedFrom(std::size_t index, std::size_t output) const
    {
        const Node& node = nodes[index];
        if (node.kind->part == nullptr || !node.known) {
            return output;
        }
        const TensorType& type = values.views[output].type;
        for (const auto& ids : node.operands) {
            for (ValueId id : ids) {
                const TensorType& read = values.views[id].type;
                if (plan.homes[root[id]].place == BufferPlan::Place::arena &&
                    lastReader[root[id]] == index && read.shape == type.shape &&
                    bitsOf(read.element) == bitsOf(type.element)) {
                    return owner[root[id]];
                }
            }
        }
        return output;
    }

    void findLifetimes()
    {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Node& node = nodes[i];
            for (const auto& ids : node.operands) {
                for (ValueId id : ids) {
                    lifetimes[owner[root[id]]].last = steps[i];
                }
            }
            if (isAlias(node)) {
                plan.homes[node.outputs.front()] = {BufferPlan::Place::alias,
                                                    node.operands.front().front()};
                continue;
            }
            for (ValueId id : node.outputs) {
                owner[id] = inheritedFrom(i, id);
                if (owner[id] == id) {
                    lifetimes[id] = {steps[i], steps[i]};
                }
                plan.homes[id].place =
                    node.known ? BufferPlan::Place::arena : BufferPlan::Place::slot;
            }
        }
        for (ValueId id : outputs) {
            lifetimes[owner[root[id]]].last = nodes.size();
        }
    }

    bool overlap(std::size_t a, std::size_t b) const
    {
        return lifetimes[a].first <= lifetimes[b].last && lifetimes[b].first <= lifetimes[a].last;
    }

    /// Largest first, each at the lowest place that is free during its life.
    void placeInArena()
    {
        std::vector<Block> blocks;
        for (std::size_t id = 0; id < plan.homes.size(); ++id) {
            if (plan.homes[id].place == BufferPlan::Place::arena && owner[id] == id) {
                const std::size_t bytes = byteCount(values.views[id].type);
                blocks.push_back({id, (bytes + alignment - 1) / alignment * alignment});
            }
        }
        std::stable_sort(blocks.begin(), blocks.end(),
                         [](const Block& a, const Block& b) { return a.bytes > b.bytes; });
        const std::vector<Block> rest(
            blocks.begin() + static_cast<std::ptrdiff_t>(std::min(blocks.size(), mostCompared)),
            blocks.end());
        blocks.resize(blocks.size() - rest.size());
        std::vector<Block> placed; // by offset
        for (const Block& block : blocks) {
            std::size_t offset = 0;
            for (const Block& other : placed) {
                const std::size_t at = plan.homes[other.value].index;
                if (!overlap(block.value, other.value) || at + other.bytes <= offset) {
                    continue;
                }
                if (at >= offset + block.bytes) {
                    break;
                }
                offset = at + other.bytes;
            }
            plan.homes[block.value].index = offset;
            plan.arenaBytes = std::max(plan.arenaBytes, offset + block.bytes);
            const auto after = [&](const Block& b) { return plan.homes[b.value].index > offset; };
            placed.insert(std::find_if(placed.begin(), placed.end(), after), block);
        }
        placeInTurn(rest);
    }

    /// Behind the others, in the order of their births, each in the smallest place that has
    /// become free: quick for any number of blocks.
    void placeInTurn(std::vector<Block> blocks)
    {
        std::sort(blocks.begin(), blocks.end(), [&](const Block& a, const Block& b) {
            return lifetimes[a.value].first < lifetimes[b.value].first;
        });
        std::multimap<std::size_t, std::size_t> vacant;                        // bytes, offset
        std::multimap<std::size_t, std::pair<std::size_t, std::size_t>> taken; // by last use
        for (const Block& block : blocks) {
            const Lifetime& life = lifetimes[block.value];
            while (!taken.empty() && taken.begin()->first < life.first) {
                vacant.insert(taken.begin()->second);
                taken.erase(taken.begin());
            }
            const auto found = vacant.lower_bound(block.bytes);
            std::pair<std::size_t, std::size_t> place{block.bytes, plan.arenaBytes};
            if (found != vacant.end()) {
                place = *found;
                vacant.erase(found);
            } else {
                plan.arenaBytes += block.bytes;
            }
            plan.homes[block.value].index = place.second;
            taken.emplace(life.last, place);
        }
    }

    void placeInSlots()
    {
        std::vector<std::size_t> freeFrom; // by slot, the first step that may take it
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            for (ValueId id : nodes[i].outputs) {
                if (plan.homes[id].place != BufferPlan::Place::slot) {
                    continue;
                }
                const auto slot = std::find_if(freeFrom.begin(), freeFrom.end(),
                                               [&](std::size_t from) { return from <= steps[i]; });
                plan.homes[id].index = static_cast<std::size_t>(slot - freeFrom.begin());
                if (slot == freeFrom.end()) {
                    freeFrom.push_back(0);
                }
                freeFrom[plan.homes[id].index] = lifetimes[id].last + 1;
            }
        }
        plan.slots = freeFrom.size();
    }

    std::span<const Node> nodes;
    const ValueTable& values;
    std::span<const ValueId> outputs;
    const std::vector<std::size_t>& steps;
    BufferPlan plan;
    std::vector<std::size_t> root;       // the value whose bytes an alias shows
    std::vector<std::size_t> owner;      // the value whose bytes an output writes over
    std::vector<std::size_t> lastReader; // node, by root
    std::vector<Lifetime> lifetimes;     // steps, by owner
};

} // namespace

BufferPlan planBuffers(std::span<const Node> nodes, const ValueTable& values,
                       std::span<const ValueId> outputs, const std::vector<std::size_t>& steps)
{
    return Planner(nodes, values, outputs, steps).run();
}

} // namespace vorlin::mil
