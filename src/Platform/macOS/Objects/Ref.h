#pragma once

#include <Foundation/Foundation.h>

#include <utility>

namespace vorlin {

/// An object that was just made, as a local one: nothing to do with automatic reference counting,
/// and without it the pool's.
template <class T>
T* autoreleased(T* made)
{
#if __has_feature(objc_arc)
    return made;
#else
    return [made autorelease];
#endif
}

/// The object as Core Foundation sees it, for a look.
inline const void* cfObject(id object)
{
#if __has_feature(objc_arc)
    return (__bridge const void*)object;
#else
    return object;
#endif
}

/// An object of Core Foundation's as Objective-C sees it; whose it is does not change.
inline id nsObject(const void* object)
{
#if __has_feature(objc_arc)
    return (__bridge id)object;
#else
    return reinterpret_cast<id>(const_cast<void*>(object));
#endif
}

/// Holds an Objective-C object for as long as it lives, with automatic reference counting and
/// without it.
template <class T>
class Ref {
public:
    Ref() = default;
#if __has_feature(objc_arc)
    explicit Ref(T* held) : object(held) {}
#else
    explicit Ref(T* held) : object([held retain]) {}
    Ref(const Ref& other) : object([other.object retain]) {}
    Ref(Ref&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    Ref& operator=(Ref other) noexcept
    {
        std::swap(object, other.object);
        return *this;
    }
    ~Ref() { [object release]; }
#endif

    T* get() const { return object; }
    explicit operator bool() const { return object != nil; }

private:
    T* object = nil;
};

} // namespace vorlin
