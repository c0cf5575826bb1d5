#pragma once

#include <string>

namespace vorlin {

/// What a framework says of a failure, as one line for a person: its first line without blanks
/// around it; where there is none, a line that says no more than that it failed.
std::string errorLine(const std::string& said);

} // namespace vorlin
