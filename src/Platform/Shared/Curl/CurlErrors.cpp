#include "Platform/Shared/Curl/CurlErrors.h"

#include "Platform/Shared/Curl/CurlLibrary.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>

namespace vorlin {

namespace {

using Code = URLError::Code;

constexpr long clientErrors = 400;

Code codeOf(CURLcode result, CURL* handle, bool (*isConnected)())
{
    long proxyStatus = 0;
    libcurl().easyGetinfo(handle, CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
    if (proxyStatus >= clientErrors) {
        return Code::proxyRefused;
    }
    switch (result) {
    case CURLE_OPERATION_TIMEDOUT: return Code::timedOut;
    case CURLE_COULDNT_RESOLVE_HOST: return isConnected() ? Code::hostNotFound : Code::noNetwork;
    case CURLE_COULDNT_CONNECT: return isConnected() ? Code::hostUnreachable : Code::noNetwork;
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_PROXY: return Code::proxyRefused;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR: return Code::certificateNotTrusted;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE: return Code::connectionLost;
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
    case CURLE_LOGIN_DENIED: return Code::redirectRefused;
    case CURLE_TOO_MANY_REDIRECTS: return Code::redirectedTooOften;
    case CURLE_WEIRD_SERVER_REPLY: return Code::badServerResponse;
    default: return Code::other;
    }
}

} // namespace

bool hasNetwork()
{
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return true; // then the other explanation is the better guess
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> held(list, &::freeifaddrs);
    for (const ifaddrs* each = list; each != nullptr; each = each->ifa_next) {
        const bool up = (each->ifa_flags & IFF_UP) != 0 && (each->ifa_flags & IFF_RUNNING) != 0;
        const bool loopback = (each->ifa_flags & IFF_LOOPBACK) != 0;
        const bool addressed = each->ifa_addr != nullptr && (each->ifa_addr->sa_family == AF_INET ||
                                                             each->ifa_addr->sa_family == AF_INET6);
        if (up && !loopback && addressed) {
            return true;
        }
    }
    return false;
}

URLError errorOf(CURLcode result, CURL* handle, bool (*isConnected)())
{
    const Code code = codeOf(result, handle, isConnected);
    if (code != Code::other) {
        return URLError(code);
    }
    std::string reason = libcurl().easyStrerror(result);
    std::ranges::transform(reason.begin(), reason.begin() + 1, reason.begin(),
                           [](unsigned char first) { return std::tolower(first); });
    return {code, "The download failed: " + reason + "."};
}

} // namespace vorlin
