#include "Platform/Shared/Curl/CurlErrors.h"

#include "Platform/Shared/Curl/CurlLibrary.h"

#include <gtest/gtest.h>

#include <net/route.h>

#include <fstream>
#include <memory>
#include <string>

namespace vorlin {
namespace {

using Code = URLError::Code;

struct CleanUp {
    void operator()(CURL* handle) const { libcurl().easyCleanup(handle); }
};

/// What a transfer's end means on a machine with a network, or without one.
URLError meaning(CURLcode result, bool connected = true)
{
    const std::unique_ptr<CURL, CleanUp> handle(libcurl().easyInit());
    return errorOf(
        result, handle.get(), connected ? +[] { return true; } : +[] { return false; });
}

TEST(CurlErrors, eachEndOfATransferIsTheOneThatAPersonIsToldOf)
{
    const struct {
        CURLcode result;
        Code code;
    } ends[] = {
        {CURLE_OPERATION_TIMEDOUT, Code::timedOut},
        {CURLE_COULDNT_RESOLVE_HOST, Code::hostNotFound},
        {CURLE_COULDNT_CONNECT, Code::hostUnreachable},
        {CURLE_COULDNT_RESOLVE_PROXY, Code::proxyRefused},
        {CURLE_PROXY, Code::proxyRefused},
        {CURLE_PEER_FAILED_VERIFICATION, Code::certificateNotTrusted},
        {CURLE_SSL_ISSUER_ERROR, Code::certificateNotTrusted},
        {CURLE_SSL_CACERT_BADFILE, Code::certificateNotTrusted},
        {CURLE_SSL_CONNECT_ERROR, Code::connectionLost},
        {CURLE_SEND_ERROR, Code::connectionLost},
        {CURLE_RECV_ERROR, Code::connectionLost},
        {CURLE_GOT_NOTHING, Code::connectionLost},
        {CURLE_PARTIAL_FILE, Code::connectionLost},
        {CURLE_UNSUPPORTED_PROTOCOL, Code::redirectRefused},
        {CURLE_URL_MALFORMAT, Code::redirectRefused},
        {CURLE_LOGIN_DENIED, Code::redirectRefused},
        {CURLE_TOO_MANY_REDIRECTS, Code::redirectedTooOften},
        {CURLE_WEIRD_SERVER_REPLY, Code::badServerResponse},
    };
    for (const auto& end : ends) {
        const auto error = meaning(end.result);
        EXPECT_EQ(error.code(), end.code) << end.result;
        EXPECT_STREQ(error.what(), URLError(end.code).what());
    }
}

TEST(CurlErrors, whatCannotBeReachedWithoutANetworkIsTheNetworksFault)
{
    EXPECT_EQ(meaning(CURLE_COULDNT_RESOLVE_HOST, false).code(), Code::noNetwork);
    EXPECT_EQ(meaning(CURLE_COULDNT_CONNECT, false).code(), Code::noNetwork);
    EXPECT_EQ(meaning(CURLE_PARTIAL_FILE, false).code(), Code::connectionLost);
}

/// Whether the kernel knows a way out, as the table of its routes tells; not where there is none.
bool hasWayOut()
{
    std::ifstream routes("/proc/net/route");
    std::string line;
    std::getline(routes, line); // what its columns are
    std::string interface;
    std::string target;
    std::string gateway;
    unsigned flags = 0;
    while (routes >> interface >> target >> gateway >> std::hex >> flags) {
        if (target == "00000000" && (flags & RTF_UP) != 0 && interface != "lo") {
            return true;
        }
        std::getline(routes, line);
    }
    return false;
}

TEST(CurlErrors, aMachineWithAWayOutHasANetwork)
{
    EXPECT_TRUE(hasNetwork() || !hasWayOut());
}

TEST(CurlErrors, theNetworkThatIsAskedForIsTheMachines)
{
    const std::unique_ptr<CURL, CleanUp> handle(libcurl().easyInit());
    EXPECT_EQ(errorOf(CURLE_COULDNT_CONNECT, handle.get()).code(),
              hasNetwork() ? Code::hostUnreachable : Code::noNetwork);
}

TEST(CurlErrors, whatIsUnheardOfIsToldInTheLibrarysWords)
{
    const auto error = meaning(CURLE_OUT_OF_MEMORY);
    EXPECT_EQ(error.code(), Code::other);
    EXPECT_EQ(std::string(error.what()).find("The download failed: "), 0U) << error.what();
    EXPECT_EQ(std::string(error.what()).back(), '.');
}

} // namespace
} // namespace vorlin
