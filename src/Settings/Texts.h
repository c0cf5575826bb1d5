#pragma once

namespace vorlin {

// Texts that stand at two places.

/// Under the list of engines, and beside the permissions.
inline constexpr const char* aboutModels =
    "Models run entirely on your Mac. Downloads come straight from Hugging Face when you ask for "
    "them, and can be removed at any time. Parakeet transcribes when you release the key, in "
    "seconds.";

} // namespace vorlin
