#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace vorlin {

/// Why a repository's model cannot be downloaded; `what()` is the line that the person is shown.
class DownloadError : public std::runtime_error {
public:
    /// The hub does not list the repository to everybody.
    static DownloadError notFound(const std::string& repository);
    /// The repository lacks these of the names that a model is made of.
    static DownloadError incompatible(const std::vector<std::string>& missing);

private:
    using std::runtime_error::runtime_error;
};

} // namespace vorlin
