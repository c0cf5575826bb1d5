#include "Models/DownloadError.h"

namespace vorlin {

DownloadError DownloadError::notFound(const std::string& repository)
{
    return DownloadError("Couldn't find “" + repository +
                         "” on Hugging Face (or it needs a login).");
}

DownloadError DownloadError::incompatible(const std::vector<std::string>& missing)
{
    std::string names;
    for (const auto& name : missing) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return DownloadError(
        "That repository isn't a compatible Parakeet CoreML export. Missing: " + names + ".");
}

} // namespace vorlin
