#include "Platform/Shared/Curl/CurlLibrary.h"

#include "Async/Fatal.h"

#include <memory>
#include <stdexcept>

namespace vorlin {

CurlLibrary::CurlLibrary() : library(VORLIN_LIBCURL) {}

namespace {

const CurlLibrary* loaded()
{
    static const auto library = []() -> std::unique_ptr<const CurlLibrary> {
        try {
            return std::make_unique<const CurlLibrary>();
        } catch (const std::runtime_error&) {
            return nullptr;
        }
    }();
    return library.get();
}

} // namespace

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
