// Blocks, as Clang lays them down: copied from the stack to the heap once, counted there. Debian's
// library for them does not hold the objects that a block captures.

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" {

struct Object;
Object* objc_retain(Object* object);
void objc_release(Object* object);

void* _NSConcreteStackBlock[32];
void* _NSConcreteMallocBlock[32];
void* _NSConcreteGlobalBlock[32];
}

namespace {

enum Flags : std::int32_t {
    countMask = 0xFFFF,
    onHeap = 1 << 24,
    hasHelpers = 1 << 25,
    isGlobal = 1 << 28,
};

struct Block {
    void* isa;
    std::atomic<std::int32_t> flags;
    std::int32_t reserved;
    void (*invoke)();
    struct Descriptor {
        unsigned long reserved;
        unsigned long size;
        void (*copy)(void* to, const void* from);
        void (*dispose)(const void* block);
    }* descriptor;
};

// A variable that a block may change, in the place where all that use it look for it.
struct Variable {
    void* isa;
    Variable* forwarding;
    std::atomic<std::int32_t> flags;
    std::int32_t size;
    void (*keep)(Variable* to, Variable* from);
    void (*destroy)(Variable* variable);
};

constexpr int fieldIsObject = 3;
constexpr int fieldIsBlock = 7;
constexpr int fieldIsVariable = 8;
constexpr int fieldIsWeak = 16;
constexpr int calledByVariable = 128;

Variable* moved(Variable* from)
{
    if ((from->forwarding->flags & onHeap) != 0) {
        ++from->forwarding->flags;
        return from->forwarding;
    }
    auto* to = static_cast<Variable*>(std::malloc(static_cast<std::size_t>(from->size)));
    std::memcpy(static_cast<void*>(to), from, static_cast<std::size_t>(from->size));
    to->flags = from->flags | onHeap | 2; // the block's, and the function's that declared it
    to->forwarding = to;
    from->forwarding = to;
    if ((from->flags & hasHelpers) != 0)
        from->keep(to, from);
    return to;
}

void released(Variable* variable)
{
    variable = variable->forwarding;
    if ((variable->flags & onHeap) == 0 || (--variable->flags & countMask) != 0)
        return;
    if ((variable->flags & hasHelpers) != 0)
        variable->destroy(variable);
    std::free(variable);
}

} // namespace

extern "C" {

void* _Block_copy(const void* argument)
{
    auto* block = static_cast<Block*>(const_cast<void*>(argument));
    if (block == nullptr || (block->flags & isGlobal) != 0)
        return block;
    if ((block->flags & onHeap) != 0) {
        ++block->flags;
        return block;
    }
    auto* copied = static_cast<Block*>(std::malloc(block->descriptor->size));
    std::memcpy(static_cast<void*>(copied), block, block->descriptor->size);
    copied->isa = _NSConcreteMallocBlock;
    copied->flags = (block->flags & ~countMask) | onHeap | 1;
    if ((block->flags & hasHelpers) != 0)
        block->descriptor->copy(copied, block);
    return copied;
}

void _Block_release(const void* argument)
{
    auto* block = static_cast<Block*>(const_cast<void*>(argument));
    if (block == nullptr || (block->flags & onHeap) == 0 || (--block->flags & countMask) != 0)
        return;
    if ((block->flags & hasHelpers) != 0)
        block->descriptor->dispose(block);
    std::free(block);
}

void _Block_object_assign(void* to, const void* value, int kind)
{
    void** place = static_cast<void**>(to);
    void* object = const_cast<void*>(value);
    if ((kind & calledByVariable) != 0)
        *place = object;
    else if ((kind & fieldIsVariable) != 0)
        *place = moved(static_cast<Variable*>(object));
    else if ((kind & fieldIsBlock) == fieldIsBlock)
        *place = _Block_copy(object);
    else if ((kind & fieldIsWeak) == 0 && (kind & fieldIsObject) == fieldIsObject)
        *place = objc_retain(static_cast<Object*>(object));
    else
        *place = object;
}

void _Block_object_dispose(const void* value, int kind)
{
    void* object = const_cast<void*>(value);
    if ((kind & calledByVariable) != 0)
        return;
    if ((kind & fieldIsVariable) != 0)
        released(static_cast<Variable*>(object));
    else if ((kind & fieldIsBlock) == fieldIsBlock)
        _Block_release(object);
    else if ((kind & fieldIsWeak) == 0 && (kind & fieldIsObject) == fieldIsObject)
        objc_release(static_cast<Object*>(object));
}
}
