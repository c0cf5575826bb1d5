#pragma once

#include "MIL/Model.h"
#include "Platform/Linux/Engine/Wire/Messages.h"

#include <optional>

/// Between the tensor engine's types and those of the messages.
namespace vorlin::engine {

/// `other` for types that do not cross.
Element crossing(mil::ElementType type);

/// Nothing for `other`.
std::optional<mil::ElementType> computed(Element element);

/// Inputs and outputs as the model declares them.
LoadedReply signatureOf(const mil::Model& model);

} // namespace vorlin::engine
