#pragma once

namespace vorlin {

/// Makes the calling thread give way to all ordinary work: ten steps nicer than it was, and
/// scheduled as work that nobody waits for. It cannot be taken back. Never fails noticeably.
void lowerThreadPriority();

} // namespace vorlin
