#pragma once

#include <stdexcept>

namespace vorlin::mil {

/// What is wrong with a bundle or with what a caller passed. `what()` is one line that names the
/// place ("model.mil:12:34: ...") and says what was expected.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A prediction ended early because its stop token asked for it.
class Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("The prediction was stopped.") {}
};

} // namespace vorlin::mil
