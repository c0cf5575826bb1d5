#include "Platform/Linux/Sway/SwayAnswers.h"

#include <nlohmann/json.hpp>

namespace vorlin {

const nlohmann::json* swayMember(const nlohmann::json& object, const char* name)
{
    if (!object.is_object()) {
        return nullptr;
    }
    const auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
}

std::string swayText(const nlohmann::json& object, const char* name)
{
    const auto* value = swayMember(object, name);
    return value != nullptr && value->is_string() ? value->get<std::string>() : "";
}

} // namespace vorlin
