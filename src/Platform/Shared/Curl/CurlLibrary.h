#pragma once

#include "Platform/Shared/LateLibrary.h"

#include <curl/curl.h>

namespace vorlin {

/// libcurl, which brings some twenty libraries along, loaded with the first transfer.
struct CurlLibrary {
    /// Fails with a `std::runtime_error` when it cannot be loaded, or is too old.
    CurlLibrary();

    const LateLibrary library;

    const decltype(&curl_version_info) versionInfo = library.find("curl_version_info");
    const decltype(&curl_global_init) globalInit = library.find("curl_global_init");
    const decltype(&curl_slist_append) slistAppend = library.find("curl_slist_append");
    const decltype(&curl_slist_free_all) slistFreeAll = library.find("curl_slist_free_all");
    const decltype(&curl_easy_init) easyInit = library.find("curl_easy_init");
    const decltype(&curl_easy_cleanup) easyCleanup = library.find("curl_easy_cleanup");
    const decltype(&curl_easy_setopt) easySetopt = library.find("curl_easy_setopt");
    const decltype(&curl_easy_getinfo) easyGetinfo = library.find("curl_easy_getinfo");
    const decltype(&curl_easy_strerror) easyStrerror = library.find("curl_easy_strerror");
    const decltype(&curl_multi_init) multiInit = library.find("curl_multi_init");
    const decltype(&curl_multi_cleanup) multiCleanup = library.find("curl_multi_cleanup");
    const decltype(&curl_multi_add_handle) multiAdd = library.find("curl_multi_add_handle");
    const decltype(&curl_multi_remove_handle) multiRemove =
        library.find("curl_multi_remove_handle");
    const decltype(&curl_multi_perform) multiPerform = library.find("curl_multi_perform");
    const decltype(&curl_multi_info_read) multiInfoRead = library.find("curl_multi_info_read");
    const decltype(&curl_multi_poll) multiPoll = library.find("curl_multi_poll");
    const decltype(&curl_multi_wakeup) multiWakeup = library.find("curl_multi_wakeup");
};

/// Whether it is there and has what downloads need. The first call loads it, which may wait for a
/// disk. Any thread.
bool loadLibcurl();

/// Any thread, and only once `loadLibcurl` has said that it is there.
const CurlLibrary& libcurl();

} // namespace vorlin
