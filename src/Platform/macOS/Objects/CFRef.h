#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace vorlin {

/// Owns what a function whose name holds "Create" or "Copy" has returned, or nothing.
template <class T>
class CFRef {
public:
    CFRef() = default;
    explicit CFRef(T made) : value(made) {}
    CFRef(CFRef&& other) noexcept : value(std::exchange(other.value, nullptr)) {}
    CFRef& operator=(CFRef other) noexcept
    {
        std::swap(value, other.value);
        return *this;
    }
    CFRef(const CFRef&) = delete;
    ~CFRef()
    {
        if (value != nullptr) {
            CFRelease(value);
        }
    }

    T get() const { return value; }
    explicit operator bool() const { return value != nullptr; }

private:
    T value = nullptr;
};

} // namespace vorlin
