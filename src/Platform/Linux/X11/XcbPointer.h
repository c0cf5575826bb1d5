#pragma once

#include <cstdlib>
#include <memory>

namespace vorlin {

struct XcbFree {
    void operator()(void* memory) const { std::free(memory); }
};

/// What xcb hands out and wants freed: replies, events, errors.
template <class T>
using XcbPointer = std::unique_ptr<T, XcbFree>;

} // namespace vorlin
