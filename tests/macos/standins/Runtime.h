#pragma once

#include <cstddef>
#include <cstdint>

/// The layout in which Clang writes classes down for macOS, as far as it is needed to run them. On
/// this machine it comes out the same, in sections whose beginning and end the linker names.
namespace standins {

struct MethodList {
    std::uint32_t entrySize;
    std::uint32_t count;
    struct Method {
        const char* name;
        const char* types;
        void* code;
    } methods[];
};

struct IvarList {
    std::uint32_t entrySize;
    std::uint32_t count;
    struct Ivar {
        std::int64_t* offset;
        const char* name;
        const char* type;
        std::uint32_t alignment;
        std::uint32_t size;
    } ivars[];
};

struct ClassData {
    std::uint32_t flags;
    std::uint32_t instanceStart;
    std::uint32_t instanceSize;
    const void* ivarLayout;
    const char* name;
    MethodList* methods;
    const void* protocols;
    IvarList* ivars;
    const void* weakIvarLayout;
    const void* properties;
};

struct Class {
    Class* isa;
    Class* super;
    void* cache;
    void* vtable;
    ClassData* data;
};

struct Category {
    const char* name;
    Class* cls;
    MethodList* instanceMethods;
    MethodList* classMethods;
};

struct Object {
    Class* isa;
};

/// The code that answers to a selector, nothing where none does.
void* implementation(Class* cls, const char* selector);

/// A new object with a count of one, its C++ members constructed.
Object* create(Class* cls);

/// Destroys the C++ members and the weak references, and frees.
void destroy(Object* object);

/// How many objects are alive that create() made.
long alive();

} // namespace standins
