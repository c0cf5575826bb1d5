#pragma once

#include <string>

namespace vorlin {

// Texts that stand at two places.

/// Under the list of engines, and beside the permissions.
inline constexpr const char* aboutModels =
    "Models run entirely on your Mac. Downloads come straight from Hugging Face when you ask for "
    "them, and can be removed at any time. Parakeet transcribes when you release the key, in "
    "seconds.";

/// Two lines that each end with a full stop, or are empty, as one.
inline std::string together(const std::string& first, const std::string& second)
{
    return first + (first.empty() || second.empty() ? "" : " ") + second;
}

} // namespace vorlin
