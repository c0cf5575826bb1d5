#include "Platform/macOS/Plain/KeyEvents.h"

namespace vorlin {

std::optional<KeyEventType> keyEventType(std::uint32_t number)
{
    const auto type = static_cast<KeyEventType>(number);
    switch (type) {
    case KeyEventType::keyDown:
    case KeyEventType::keyUp:
    case KeyEventType::flagsChanged:
    case KeyEventType::tapDisabledByTimeout:
    case KeyEventType::tapDisabledByUserInput: return type;
    }
    return std::nullopt;
}

bool isOfAKey(KeyEventType type)
{
    return type != KeyEventType::tapDisabledByTimeout &&
           type != KeyEventType::tapDisabledByUserInput;
}

} // namespace vorlin
