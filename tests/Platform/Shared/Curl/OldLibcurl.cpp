#include <curl/curl.h>

/// Stands before libcurl's own: one that lacks nothing but what came with a later version.
extern "C" __attribute__((visibility("default"))) curl_version_info_data*
curl_version_info(CURLversion /*age*/)
{
    static curl_version_info_data data = [] {
        curl_version_info_data old = {};
        old.version = "7.86.0";
        old.version_num = 0x075600;
        return old;
    }();
    return &data;
}
