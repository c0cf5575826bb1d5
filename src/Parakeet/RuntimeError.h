#pragma once

#include <stdexcept>

namespace vorlin {

/// What is wrong with the models' answers.
class RuntimeError : public std::runtime_error {
public:
    /// An output that is missing, or is not the array that was promised.
    static RuntimeError badOutput()
    {
        return RuntimeError("The speech model returned an unexpected result.");
    }

private:
    using std::runtime_error::runtime_error;
};

} // namespace vorlin
