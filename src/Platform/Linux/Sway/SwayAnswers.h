#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace vorlin {

/// A member of what sway answered; null where there is none, or it is no object.
const nlohmann::json* swayMember(const nlohmann::json& object, const char* name);

/// A member that is a string; empty for anything else.
std::string swayText(const nlohmann::json& object, const char* name);

} // namespace vorlin
