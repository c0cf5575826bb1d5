#pragma once

namespace vorlin {

/// Lets the thread that calls yield the processor to all other work.
void lowerThreadPriority();

} // namespace vorlin
