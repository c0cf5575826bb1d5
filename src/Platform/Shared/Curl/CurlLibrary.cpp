#include "Platform/Shared/Curl/CurlLibrary.h"

#include "Async/Fatal.h"

#include <memory>
#include <stdexcept>

namespace vorlin {

namespace {

/// 7.87, as the library writes it: the latest of what is set for a transfer, CURLOPT_QUICK_EXIT,
/// came with it. An older one has every function all the same.
constexpr unsigned oldestVersion = 0x075700;

/// Never destroyed: a thread whose disk hangs may be left behind in it at the end of the program.
const CurlLibrary* loaded()
{
    static const CurlLibrary* const library = []() -> const CurlLibrary* {
        try {
            return std::make_unique<const CurlLibrary>().release();
        } catch (const std::runtime_error&) {
            return nullptr;
        }
    }();
    return library;
}

} // namespace

CurlLibrary::CurlLibrary() : library(VORLIN_LIBCURL)
{
    if (versionInfo(CURLVERSION_NOW)->version_num < oldestVersion) {
        throw std::runtime_error("libcurl is too old");
    }
}

bool loadLibcurl()
{
    return loaded() != nullptr;
}

const CurlLibrary& libcurl()
{
    if (loaded() == nullptr) {
        fatal("libcurl is used although it could not be loaded");
    }
    return *loaded();
}

} // namespace vorlin
