#pragma once

#include <stdexcept>
#include <string>

namespace vorlin {

/// Why something could not be fetched over the network; `what()` is one line for a person.
class URLError : public std::runtime_error {
public:
    enum class Code {
        cancelled,
        timedOut,
        noNetwork,
        hostNotFound,
        hostUnreachable,
        certificateNotTrusted,
        connectionLost,
        redirectRefused,
        redirectedTooOften,
        proxyRefused,
        /// An answer that is not the one asked for.
        badServerResponse,
        other,
    };

    /// With the line that goes with `code`.
    explicit URLError(Code code);
    URLError(Code code, const std::string& line) : std::runtime_error(line), why(code) {}

    Code code() const { return why; }

private:
    Code why;
};

} // namespace vorlin
