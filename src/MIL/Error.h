#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace vorlin::mil {

/// What is wrong with a bundle or with what a caller passed. `what()` is one line that names the
/// place ("model.mil:12:34: ...") and says what was expected.
class Error : public std::runtime_error {
public:
    explicit Error(std::string what) : std::runtime_error(oneLine(std::move(what))) {}

private:
    /// A message may quote a text that holds line ends and worse.
    static std::string oneLine(std::string text)
    {
        for (char& c : text) {
            const auto byte = static_cast<unsigned char>(c);
            c = byte < 0x20 || byte == 0x7f ? '?' : c;
        }
        return text;
    }
};

/// A prediction ended early because it was told to stop.
class Stopped : public std::runtime_error {
public:
    Stopped() : std::runtime_error("The prediction was stopped.") {}
};

} // namespace vorlin::mil
