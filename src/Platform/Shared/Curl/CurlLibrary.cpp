#include "Platform/Shared/Curl/CurlLibrary.h"

#include "Async/Fatal.h"

#include <stdexcept>

namespace vorlin {

CurlLibrary::CurlLibrary() : library(VORLIN_LIBCURL) {}

const CurlLibrary& libcurl()
{
    static const CurlLibrary loaded = [] {
        try {
            return CurlLibrary();
        } catch (const std::runtime_error& reason) {
            fatal(reason.what());
        }
    }();
    return loaded;
}

} // namespace vorlin
