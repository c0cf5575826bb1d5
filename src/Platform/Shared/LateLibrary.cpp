#include "Platform/Shared/LateLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

namespace vorlin {

LateLibrary::LateLibrary(const char* name) : handle(::dlopen(name, RTLD_LAZY | RTLD_LOCAL))
{
    if (handle == nullptr) {
        throw std::runtime_error(::dlerror());
    }
}

LateLibrary::Symbol LateLibrary::find(const char* name) const
{
    void* const found = ::dlsym(handle, name);
    if (found == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    return Symbol(found);
}

} // namespace vorlin
