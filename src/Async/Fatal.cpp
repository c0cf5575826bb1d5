#include "Async/Fatal.h"

#include <cstdio>
#include <cstdlib>

namespace vorlin {

void fatal(std::string_view message)
{
    std::fprintf(stderr, "vorlin: fatal: %.*s\n", static_cast<int>(message.size()), message.data());
    std::abort();
}

} // namespace vorlin
