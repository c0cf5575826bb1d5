#pragma once

#include "MIL/Graph/Operation.h"

#include <vector>

namespace vorlin::mil {

// The operations of each family; the registry collects them.
std::vector<OperationKind> unaryOperations();
std::vector<OperationKind> binaryOperations();
std::vector<OperationKind> selectionOperations();
std::vector<OperationKind> productOperations();
std::vector<OperationKind> attentionOperations();
std::vector<OperationKind> convolutionOperations();
OperationKind transposedConvolution();
std::vector<OperationKind> poolingOperations();
std::vector<OperationKind> normalisationOperations();
std::vector<OperationKind> reductionOperations();
std::vector<OperationKind> orderOperations();
std::vector<OperationKind> shapeOperations();
std::vector<OperationKind> movementOperations();
OperationKind upsampleOperation();
std::vector<OperationKind> constructionOperations();
std::vector<OperationKind> sliceOperations();
OperationKind padOperation();
std::vector<OperationKind> gatherOperations();
std::vector<OperationKind> scatterOperations();
std::vector<OperationKind> recurrentOperations();
std::vector<OperationKind> sparseOperations();
std::vector<OperationKind> storedOperations();
std::vector<OperationKind> quantisationOperations();
std::vector<OperationKind> stateOperations();

} // namespace vorlin::mil
