#include "Platform/Linux/Engine/EnginePatience.h"

namespace vorlin {

bool EnginePatience::endsAfterTick(std::optional<std::chrono::nanoseconds> processorTime)
{
    waited += engineTick;
    silent = processorTime == lastSpent ? silent + engineTick : std::chrono::milliseconds(0);
    lastSpent = processorTime;
    return silent >= mostSilence || waited >= longest;
}

} // namespace vorlin
