// Objective-C's exceptions travel as C++'s do. What is thrown is a pointer to an object; a clause
// takes it if the object is of the clause's class.

#include "Runtime.h"

#include <cxxabi.h>
#include <exception>
#include <typeinfo>
#include <unwind.h>

using standins::Class;
using standins::Object;

extern "C" {
Object* objc_retain(Object* object);
Object* objc_autorelease(Object* object);
void objc_release(Object* object);
bool objc_opt_isKindOfClass(Object* object, Class* wanted);
_Unwind_Reason_Code __gxx_personality_v0(int, _Unwind_Action, _Unwind_Exception_Class,
                                         _Unwind_Exception*, _Unwind_Context*);
}

namespace standins {

/// Laid out as Clang writes down the type of a clause: the table of functions, a name, the class.
class ClauseType : public std::type_info {
public:
    explicit ClauseType(const char* name, Class* cls) : std::type_info(name), cls_(cls) {}
    ~ClauseType() override;
    bool __is_pointer_p() const override { return true; }
    bool __do_catch(const std::type_info* thrown, void** object, unsigned) const override;

private:
    Class* cls_;
};

ClauseType::~ClauseType() = default;

} // namespace standins

// Clang's clauses point behind the first two words of the table of functions.
asm(".globl objc_ehtype_vtable\n.set objc_ehtype_vtable, _ZTVN8standins10ClauseTypeE");

extern "C" const standins::ClauseType OBJC_EHTYPE_id;
const standins::ClauseType OBJC_EHTYPE_id("id", nullptr);

namespace standins {

bool ClauseType::__do_catch(const std::type_info* thrown, void** object, unsigned) const
{
    if (thrown != &OBJC_EHTYPE_id)
        return false; // C++'s own
    return cls_ == nullptr || objc_opt_isKindOfClass(static_cast<Object*>(*object), cls_);
}

} // namespace standins

namespace {

void forget(void* thrown)
{
    objc_release(*static_cast<Object**>(thrown));
}

} // namespace

extern "C" {

[[noreturn]] void objc_exception_throw(Object* object)
{
    void* thrown = abi::__cxa_allocate_exception(sizeof(object));
    *static_cast<Object**>(thrown) = objc_retain(object);
    abi::__cxa_throw(thrown, const_cast<standins::ClauseType*>(&OBJC_EHTYPE_id), forget);
}

void* objc_begin_catch(void* exception)
{
    return abi::__cxa_begin_catch(exception);
}
void objc_end_catch()
{
    abi::__cxa_end_catch();
}
[[noreturn]] void objc_exception_rethrow()
{
    abi::__cxa_rethrow();
}
[[noreturn]] void objc_terminate()
{
    std::terminate();
}

_Unwind_Reason_Code __objc_personality_v0(int version, _Unwind_Action actions,
                                          _Unwind_Exception_Class kind,
                                          _Unwind_Exception* exception, _Unwind_Context* context)
{
    return __gxx_personality_v0(version, actions, kind, exception, context);
}
}
