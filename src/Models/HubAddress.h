#pragma once

#include <string>
#include <string_view>

namespace vorlin {

/// Scheme and host of the model hub.
inline constexpr std::string_view hubAddress = "https://huggingface.co";

/// Whether `repository` is of the form "owner/name", wherever it comes from: two parts, neither of
/// which is "." or "..", without spaces and control characters, in no more bytes than the hub gives
/// anybody. Slashes around them do not matter.
bool isRepository(std::string_view repository);

/// The second part of a repository.
std::string repositoryName(std::string_view repository);

/// Where the hub lists the files of a repository; `hub` is the hub's address.
std::string listingAddress(std::string_view hub, std::string_view repository);

/// Where the hub has a file of a repository; `path` from the repository's top, parted by "/".
std::string fileAddress(std::string_view hub, std::string_view repository, std::string_view path);

} // namespace vorlin
