// Enough of a runtime to run what Clang compiles for macOS with reference counting.

#include "Runtime.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

using standins::Category;
using standins::Class;
using standins::MethodList;
using standins::Object;

extern "C" {
extern Class* __start_objc_classlist[] __attribute__((weak));
extern Class* __stop_objc_classlist[] __attribute__((weak));
extern Category* __start_objc_catlist[] __attribute__((weak));
extern Category* __stop_objc_catlist[] __attribute__((weak));
extern const char* __start_objc_selrefs[] __attribute__((weak));
extern const char* __stop_objc_selrefs[] __attribute__((weak));
extern void* _NSConcreteStackBlock[];
extern void* _NSConcreteMallocBlock[];
extern void* _NSConcreteGlobalBlock[];
void* _Block_copy(const void*);
void _Block_release(const void*);

void* _objc_empty_cache = nullptr;
std::int64_t __CFConstantStringClassReference[16] = {};
}

namespace standins {
namespace {

constexpr std::uint32_t metaclassFlag = 1;
constexpr std::size_t headerSize = 16; // before each object, for its count

std::recursive_mutex& guard()
{
    static std::recursive_mutex mutex;
    return mutex;
}

const char* interned(const char* name)
{
    static std::set<std::string> names;
    const std::lock_guard lock(guard());
    return names.insert(name).first->c_str();
}

using Methods = std::unordered_map<const char*, void*>;

std::unordered_map<const Class*, Methods>& methodsByClass()
{
    static std::unordered_map<const Class*, Methods> methods;
    return methods;
}

void add(const Class* cls, const MethodList* list)
{
    for (std::uint32_t index = 0; list != nullptr && index < list->count; ++index)
        methodsByClass()[cls][interned(list->methods[index].name)] = list->methods[index].code;
}

// A class was compiled against the header of the one above; what that one has in private moves it.
void settle(Class* cls)
{
    if (cls->super == nullptr || methodsByClass().contains(cls))
        return;
    settle(cls->super);
    const std::uint32_t above = cls->super->data->instanceSize;
    if (above <= cls->data->instanceStart)
        return;
    const std::uint32_t moved = (above - cls->data->instanceStart + 15) / 16 * 16;
    for (std::uint32_t index = 0; cls->data->ivars && index < cls->data->ivars->count; ++index)
        *cls->data->ivars->ivars[index].offset += moved;
    cls->data->instanceStart += moved;
    cls->data->instanceSize += moved;
}

// The class of the literals is a symbol of its own, which no source declares.
void beLiteral(Class* cls)
{
    auto* literal = reinterpret_cast<Class*>(__CFConstantStringClassReference);
    literal->isa = cls->isa;
    literal->super = cls;
    literal->data = cls->data;
}

void load()
{
    static std::once_flag once;
    std::call_once(once, [] {
        for (const char** name = __start_objc_selrefs; name != __stop_objc_selrefs; ++name)
            *name = interned(*name);
        for (Class** cls = __start_objc_classlist; cls != __stop_objc_classlist; ++cls)
            settle(*cls);
        for (Class** cls = __start_objc_classlist; cls != __stop_objc_classlist; ++cls) {
            if (std::strcmp((*cls)->data->name, "NSConstantString") == 0)
                beLiteral(*cls);
            add(*cls, (*cls)->data->methods);
            add((*cls)->isa, (*cls)->isa->data->methods);
        }
        for (Category** one = __start_objc_catlist; one != __stop_objc_catlist; ++one) {
            add((*one)->cls, (*one)->instanceMethods);
            add((*one)->cls->isa, (*one)->classMethods);
        }
    });
}

__attribute__((constructor(101))) void loadFirst()
{
    load();
}

bool isBlock(const Object* object)
{
    const void* isa = object->isa;
    return isa == _NSConcreteStackBlock || isa == _NSConcreteMallocBlock ||
           isa == _NSConcreteGlobalBlock;
}

// Classes and literals are nobody's to free.
bool isForEver(const Object* object)
{
    return static_cast<const void*>(object->isa) == __CFConstantStringClassReference ||
           (object->isa->data->flags & metaclassFlag) != 0;
}

long& count(Object* object)
{
    return *reinterpret_cast<long*>(reinterpret_cast<char*>(object) - headerSize);
}

using Weak = std::multimap<Object*, Object**>;

Weak& weakReferences()
{
    static Weak references;
    return references;
}

long living = 0;

void call(Object* object, Class* cls, const char* selector)
{
    const auto found = methodsByClass()[cls].find(interned(selector));
    if (found != methodsByClass()[cls].end())
        reinterpret_cast<void (*)(Object*, const char*)>(found->second)(object, found->first);
}

void construct(Object* object, Class* cls)
{
    if (cls->super != nullptr)
        construct(object, cls->super);
    call(object, cls, ".cxx_construct");
}

} // namespace

void* implementation(Class* cls, const char* selector)
{
    load();
    const std::lock_guard lock(guard());
    for (; cls != nullptr; cls = cls->super) {
        const auto& methods = methodsByClass()[cls];
        if (const auto found = methods.find(selector); found != methods.end())
            return found->second;
    }
    return nullptr;
}

Object* create(Class* cls)
{
    auto* memory = static_cast<char*>(std::calloc(1, headerSize + cls->data->instanceSize));
    auto* object = reinterpret_cast<Object*>(memory + headerSize);
    object->isa = cls;
    const std::lock_guard lock(guard());
    count(object) = 1;
    ++living;
    construct(object, cls);
    return object;
}

void destroy(Object* object)
{
    for (Class* cls = object->isa; cls != nullptr; cls = cls->super)
        call(object, cls, ".cxx_destruct");
    const std::lock_guard lock(guard());
    --living;
    std::free(reinterpret_cast<char*>(object) - headerSize);
}

long alive()
{
    const std::lock_guard lock(guard());
    return living;
}

} // namespace standins

using namespace standins;

namespace {

thread_local std::vector<Object*> pool;

} // namespace

extern "C" {

void* standins_lookup(Object* object, const char* selector)
{
    void* code = implementation(object->isa, selector);
    if (code == nullptr) {
        const bool cls = (object->isa->data->flags & metaclassFlag) != 0;
        std::fprintf(stderr, "%c[%s %s]: no such method\n", cls ? '+' : '-',
                     object->isa->data->name, selector);
        std::abort();
    }
    return code;
}

struct Super {
    Object* object;
    Class* cls;
};

void* standins_lookup_super(Super* super, const char* selector)
{
    void* code = implementation(super->cls->super, selector);
    if (code == nullptr)
        std::abort();
    return code;
}

Object* objc_retain(Object* object)
{
    if (object == nullptr)
        return nullptr;
    if (isBlock(object))
        return static_cast<Object*>(_Block_copy(object));
    if (!isForEver(object)) {
        const std::lock_guard lock(guard());
        ++count(object);
    }
    return object;
}

void objc_release(Object* object)
{
    if (object == nullptr)
        return;
    if (isBlock(object))
        return _Block_release(object);
    if (isForEver(object))
        return;
    {
        const std::lock_guard lock(guard());
        if (--count(object) > 0)
            return;
        const auto [first, last] = weakReferences().equal_range(object);
        for (auto one = first; one != last; ++one)
            *one->second = nullptr;
        weakReferences().erase(first, last);
    }
    static const char* const dealloc = interned("dealloc");
    reinterpret_cast<void (*)(Object*, const char*)>(standins_lookup(object, dealloc))(object,
                                                                                       dealloc);
}

Object* objc_autorelease(Object* object)
{
    if (object != nullptr)
        pool.push_back(object);
    return object;
}

void* objc_autoreleasePoolPush()
{
    return reinterpret_cast<void*>(pool.size() + 1);
}

void objc_autoreleasePoolPop(void* mark)
{
    while (pool.size() >= reinterpret_cast<std::size_t>(mark)) {
        Object* object = pool.back();
        pool.pop_back();
        objc_release(object);
    }
}

Object* objc_retainAutorelease(Object* object)
{
    return objc_autorelease(objc_retain(object));
}
Object* objc_autoreleaseReturnValue(Object* object)
{
    return objc_autorelease(object);
}
Object* objc_retainAutoreleaseReturnValue(Object* object)
{
    return objc_retainAutorelease(object);
}
Object* objc_retainAutoreleasedReturnValue(Object* object)
{
    return objc_retain(object);
}
Object* objc_unsafeClaimAutoreleasedReturnValue(Object* object)
{
    return object;
}
Object* objc_retainBlock(Object* block)
{
    return block == nullptr ? nullptr : static_cast<Object*>(_Block_copy(block));
}

void objc_storeStrong(Object** place, Object* value)
{
    Object* old = *place;
    objc_retain(value);
    *place = value;
    objc_release(old);
}

void objc_destroyWeak(Object** place)
{
    const std::lock_guard lock(guard());
    const auto [first, last] = weakReferences().equal_range(*place);
    for (auto one = first; one != last; ++one)
        if (one->second == place) {
            weakReferences().erase(one);
            break;
        }
    *place = nullptr;
}

Object* objc_initWeak(Object** place, Object* value)
{
    const std::lock_guard lock(guard());
    *place = value;
    if (value != nullptr)
        weakReferences().emplace(value, place);
    return value;
}

Object* objc_storeWeak(Object** place, Object* value)
{
    objc_destroyWeak(place);
    return objc_initWeak(place, value);
}

Object* objc_loadWeakRetained(Object** place)
{
    const std::lock_guard lock(guard());
    return objc_retain(*place);
}

Object* objc_loadWeak(Object** place)
{
    return objc_autorelease(objc_loadWeakRetained(place));
}
void objc_copyWeak(Object** to, Object** from)
{
    const std::lock_guard lock(guard());
    objc_initWeak(to, *from);
}
void objc_moveWeak(Object** to, Object** from)
{
    objc_copyWeak(to, from);
    objc_destroyWeak(from);
}

Object* objc_alloc(Class* cls)
{
    return create(cls);
}

Object* standins_send(Object* object, const char* name)
{
    const char* selector = interned(name);
    return reinterpret_cast<Object* (*)(Object*, const char*)>(standins_lookup(object, selector))(
        object, selector);
}

Object* objc_alloc_init(Class* cls)
{
    return standins_send(create(cls), "init");
}
Object* objc_opt_new(Class* cls)
{
    return objc_alloc_init(cls);
}
Object* objc_opt_self(Object* object)
{
    return object;
}
Class* objc_opt_class(Object* object)
{
    const bool cls = object != nullptr && (object->isa->data->flags & metaclassFlag) != 0;
    return object == nullptr ? nullptr : cls ? reinterpret_cast<Class*>(object) : object->isa;
}

bool objc_opt_isKindOfClass(Object* object, Class* wanted)
{
    for (Class* cls = object == nullptr ? nullptr : object->isa; cls != nullptr; cls = cls->super)
        if (cls == wanted)
            return true;
    return false;
}

bool objc_opt_respondsToSelector(Object* object, const char* selector)
{
    return object != nullptr && implementation(object->isa, selector) != nullptr;
}

Object* objc_getProperty(Object* self, const char*, std::ptrdiff_t offset, bool)
{
    const std::lock_guard lock(guard());
    return objc_retainAutorelease(
        *reinterpret_cast<Object**>(reinterpret_cast<char*>(self) + offset));
}

void objc_setProperty_atomic(Object* self, const char*, Object* value, std::ptrdiff_t offset)
{
    objc_storeStrong(reinterpret_cast<Object**>(reinterpret_cast<char*>(self) + offset), value);
}

void objc_setProperty_atomic_copy(Object* self, const char*, Object* value, std::ptrdiff_t offset)
{
    Object* copied = value == nullptr ? nullptr
                     : isBlock(value) ? objc_retainBlock(value)
                                      : standins_send(value, "copy");
    objc_storeStrong(reinterpret_cast<Object**>(reinterpret_cast<char*>(self) + offset), copied);
    objc_release(copied);
}

void objc_setProperty_nonatomic(Object* self, const char* name, Object* value, std::ptrdiff_t at)
{
    objc_setProperty_atomic(self, name, value, at);
}

void objc_setProperty_nonatomic_copy(Object* self, const char* name, Object* value,
                                     std::ptrdiff_t at)
{
    objc_setProperty_atomic_copy(self, name, value, at);
}

void objc_copyStruct(void* to, const void* from, std::ptrdiff_t size, bool, bool)
{
    std::memcpy(to, from, static_cast<std::size_t>(size));
}

void objc_enumerationMutation(Object*)
{
    std::abort();
}
}
