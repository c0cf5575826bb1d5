#include "Platform/Shared/Rename.h"

#include <cstdio>

#include <fcntl.h>

namespace vorlin {

namespace {

unsigned flagsOf(Existing existing)
{
#if defined(__APPLE__)
    constexpr unsigned refuse = RENAME_EXCL;
    constexpr unsigned exchange = RENAME_SWAP;
#else
    constexpr unsigned refuse = RENAME_NOREPLACE;
    constexpr unsigned exchange = RENAME_EXCHANGE;
#endif
    switch (existing) {
    case Existing::refuse: return refuse;
    case Existing::exchange: return exchange;
    case Existing::replace: break;
    }
    return 0;
}

} // namespace

bool renameItem(const Descriptor& from, const std::string& name, const Descriptor& to,
                const std::string& next, Existing existing)
{
    const unsigned flags = flagsOf(existing);
#if defined(__APPLE__)
    return ::renameatx_np(from.number(), name.c_str(), to.number(), next.c_str(), flags) == 0;
#else
    return ::renameat2(from.number(), name.c_str(), to.number(), next.c_str(), flags) == 0;
#endif
}

} // namespace vorlin
