#pragma once

#include <string>
#include <vector>

namespace standins {

/// Writes a call down, behind those before it: class, selector, arguments. A call from another
/// thread than the one that started the program begins with "elsewhere: ". From any thread.
void note(const std::string& call);

/// Whether this thread is the one that started the program.
bool isMainThread();

/// What was written down since this was asked last, oldest first. From any thread.
std::vector<std::string> taken();

} // namespace standins
