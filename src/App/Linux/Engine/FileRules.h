#pragma once

namespace vorlin::engine {

/// What became of the rules about files and sockets.
enum class FileRules {
    inForce,
    notInThisKernel, // it has no Landlock, or it is switched off
    failed,
};

/// From now on this thread, and those it starts, can open for reading the files below `folder`,
/// and those outside that links in its bundles lead to now, each by itself. Nothing else: not
/// write, make, remove, rename or execute, nor, as far as the kernel knows of it, use TCP or
/// abstract sockets or send signals to other processes. For good; wants "no new privileges".
/// `folder` is a descriptor of the working directory, which may be of a path only.
FileRules applyFileRules(int folder);

} // namespace vorlin::engine
