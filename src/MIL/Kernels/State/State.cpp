#include "MIL/Kernels/Operations.h"

namespace vorlin::mil {

namespace {

void inferRead(const Call& call, std::vector<TensorType>& outputs)
{
    outputs.push_back(call.type("input").type);
}

void inferWrite(const Call& call, std::vector<TensorType>&)
{
    const TensorType& state = call.type("input").type;
    const TensorType& data = call.type("data").type;
    if (state != data) {
        call.fail("gets " + describe(data) + " for a state of " + describe(state));
    }
}

} // namespace

// The executor owns the states and moves the bytes itself.
std::vector<OperationKind> stateOperations()
{
    return {{"read_state", "input", inferRead, nullptr, OperationKind::Nature::readsState},
            {"write_state", "input data", inferWrite, nullptr, OperationKind::Nature::writesState}};
}

} // namespace vorlin::mil
