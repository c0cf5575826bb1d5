#pragma once

#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Ports/MLModel.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Between the arrays of the port and the tensors of the engine's messages.
namespace vorlin {

/// A signature as the engine declares it.
MLSignature signatureOf(const engine::LoadedReply& reply);

/// Where the inputs go in the shared memory, and how many bytes they take. Throws
/// `std::runtime_error` for inputs that the signature does not have, and for arrays of nothing or
/// of more than can be handed over. Whether types and shapes fit, the engine judges.
struct ArrangedInputs {
    std::vector<engine::Tensor> tensors;
    std::uint64_t bytes = 0;
};
ArrangedInputs arrange(const MLFeatures& inputs, const MLSignature& signature);

/// Whether `arrange` has these tensors for these inputs, too.
bool areArrangedAs(const std::vector<engine::Tensor>& tensors, const MLFeatures& inputs,
                   const MLSignature& signature);

/// Writes `array`, densely, to `memory`, which has room for it.
void copyIn(const MultiArray& array, std::byte* memory);

/// Makes `features` the arrays that the engine put into `memory`; one that has the type and the
/// shape is written over. False when the tensors are not what the signature declares, every output
/// of a type that crosses exactly once, or do not lie in [begin, end of memory); `features` may
/// then hold anything.
bool collect(const std::vector<engine::Tensor>& tensors, const MLSignature& signature,
             std::span<const std::byte> memory, std::uint64_t begin, MLFeatures& features);

/// Bytes that the features take at most, as far as that is known: room to begin with.
std::uint64_t expectedBytes(const std::vector<MLFeature>& features);

/// A line from the engine, made fit to be shown: one line of printable characters, not too long.
std::string shown(std::string text);

} // namespace vorlin
