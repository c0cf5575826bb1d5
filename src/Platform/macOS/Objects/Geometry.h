#pragma once

#include "Ports/Geometry.h"

#include <Foundation/Foundation.h>

namespace vorlin {

inline Rect rectOf(NSRect rect)
{
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

inline NSRect nsRect(const Rect& rect)
{
    return NSMakeRect(rect.x, rect.y, rect.width, rect.height);
}

} // namespace vorlin
