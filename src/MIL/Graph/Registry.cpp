#include "MIL/Graph/Operation.h"
#include "MIL/Kernels/Operations.h"

#include <string_view>
#include <unordered_map>

namespace vorlin::mil {

namespace {

std::vector<Parameter> parseSignature(std::string_view signature)
{
    std::vector<Parameter> parameters;
    while (!signature.empty()) {
        const std::size_t end = std::min(signature.find(' '), signature.size());
        Parameter parameter{signature.substr(0, end)};
        const auto ends = [&](char mark) {
            const bool does = parameter.name.ends_with(mark);
            parameter.name.remove_suffix(does ? 1 : 0);
            return does;
        };
        parameter.optional = ends('?');
        parameter.variadic = ends('*');
        parameter.stored = ends('~');
        parameters.push_back(parameter);
        signature.remove_prefix(std::min(end + 1, signature.size()));
    }
    return parameters;
}

std::unordered_map<std::string_view, OperationKind> collect()
{
    std::unordered_map<std::string_view, OperationKind> kinds;
    for (const auto& family :
         {unaryOperations,        binaryOperations,        selectionOperations,
          productOperations,      attentionOperations,     convolutionOperations,
          poolingOperations,      normalisationOperations, reductionOperations,
          orderOperations,        shapeOperations,         movementOperations,
          constructionOperations, sliceOperations,         gatherOperations,
          scatterOperations,      recurrentOperations,     sparseOperations,
          storedOperations,       quantisationOperations,  stateOperations}) {
        for (OperationKind& kind : family()) {
            kind.parameters = parseSignature(kind.signature);
            const std::string_view name = kind.name;
            kinds.emplace(name, std::move(kind));
        }
    }
    return kinds;
}

} // namespace

void OperationKind::compute(const Call& call) const
{
    if (part == nullptr) {
        run(call);
        return;
    }
    call.parallel(elementCount(call.output().shape()), partLength,
                  [&](std::int64_t begin, std::int64_t end) { part(call, begin, end); });
}

const OperationKind* findOperation(std::string_view name)
{
    static const auto kinds = collect();
    const auto found = kinds.find(name);
    return found == kinds.end() ? nullptr : &found->second;
}

} // namespace vorlin::mil
