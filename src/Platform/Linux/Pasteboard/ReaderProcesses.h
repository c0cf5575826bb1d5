#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorlin {

// What the kernel tells of the processes that read a clipboard, by their numbers. One that has
// ended, or that may not be looked at, is like none. Any thread; reads a few small files.

/// As the kernel has it: cut off after 15 bytes.
std::string processName(std::uint32_t process);

/// Whether a process of this name is a clipboard manager or passes clipboards on to other machines.
bool isClipboardManager(std::string_view processName);

/// Whether Wine runs it. Of such programs one process has the clipboard for all.
bool isWindowsProgram(std::uint32_t process);

/// Whether both run the same executable, unless that runs whatever program it is given.
bool runTheSameProgram(std::uint32_t one, std::uint32_t other);

/// When it began, in ticks since the machine started; 0 where there is none such.
std::uint64_t processBirth(std::uint32_t process);

/// Which one began it; 0 where there is none such.
std::uint32_t processParent(std::uint32_t process);

/// Now, on the clock by which processes begin: in the kernel's ticks since the machine started.
std::uint64_t processTime();

/// Whether `process` has begun at `since` or later, as a descendant of `ancestor`, and not by a
/// clipboard manager.
bool wasBegunBy(std::uint32_t process, std::uint32_t ancestor, std::uint64_t since);

} // namespace vorlin
