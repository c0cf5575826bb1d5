#include "Platform/Shared/SystemRandom.h"

#include <random>

namespace vorlin {

std::uint64_t SystemRandom::bits()
{
    std::random_device device; // one a call: it is not synchronised
    return (std::uint64_t{device()} << 32U) | device();
}

} // namespace vorlin
