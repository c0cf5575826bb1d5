#pragma once

namespace vorlin::engine {

/// From now on this process makes only the system calls that computing takes: packets over the
/// sockets it has, files opened for reading, memory that is never executable, threads. What no
/// library does by itself (starting programs, sockets, looking into processes, kernel interfaces)
/// ends the process; everything else fails with EPERM, so that a newer C library that tries its
/// luck goes on. For good, on all threads. Returns whether it is in force.
bool applyCallFilter();

} // namespace vorlin::engine
