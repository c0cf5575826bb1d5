#include "Platform/macOS/MacThreadPriority.h"

#include "Platform/macOS/Objects/ThreadPriority.h"

namespace vorlin {

void lowerThreadPriority()
{
    setThreadPriority(QOS_CLASS_UTILITY);
}

} // namespace vorlin
