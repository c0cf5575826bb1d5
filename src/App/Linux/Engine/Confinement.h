#pragma once

namespace vorlin::engine {

/// Takes from this process, for good, everything that computing a model does not need: children
/// and other programs, the network, all files but those below `folder` and those that links in its
/// bundles lead to now, writing, core dumps, privileges, descriptors other than the standard ones,
/// the control channel and `folder`.
/// `folder` becomes the working directory and is closed. Call it on the only thread, before
/// anything is read from outside. Returns whether all of it holds; file rules may be missing in
/// the kernel.
bool confine(int folder);

} // namespace vorlin::engine
