#include "Platform/Shared/Curl/CurlTransfer.h"

#include "Async/Fatal.h"
#include "Platform/Shared/Curl/CurlErrors.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <utility>

namespace vorlin {

namespace {

constexpr const char* userAgent = "Vorlin/" VORLIN_VERSION;
constexpr long mostRedirects = 10;
/// What is read at once.
constexpr long bufferSize = 256L << 10;

template <class Value>
void set(CURL* handle, CURLoption option, Value value)
{
    if (libcurl().easySetopt(handle, option, value) != CURLE_OK) {
        fatal("libcurl lacks something that downloads need");
    }
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const auto begin = std::min(text.find_first_not_of(blanks), text.size());
    const auto end = text.find_last_not_of(blanks) + 1;
    return text.substr(begin, std::max(begin, end) - begin);
}

} // namespace

CurlTransfer::CurlTransfer(const HTTPRequest& request, std::shared_ptr<HTTPBody> body,
                           BodyWatch& watch)
    : body(std::move(body)), watch(watch), easy(libcurl().easyInit())
{
    CURL* const handle = easy.get();
    if (handle == nullptr) {
        fatal("no memory for a download");
    }
    set(handle, CURLOPT_URL, request.url.c_str());
    set(handle, CURLOPT_PROTOCOLS_STR, "https");
    set(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
    set(handle, CURLOPT_FOLLOWLOCATION, 1L);
    set(handle, CURLOPT_MAXREDIRS, mostRedirects);
    // An address with a name and a password would have us send them.
    set(handle, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
    set(handle, CURLOPT_SSL_VERIFYPEER, 1L);
    set(handle, CURLOPT_SSL_VERIFYHOST, 2L);
    set(handle, CURLOPT_USERAGENT, userAgent);
    // Three files over three connections: no frames between them, and each ends for itself.
    set(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
    set(handle, CURLOPT_NOSIGNAL, 1L);
    // The end does not wait for a name to be resolved.
    set(handle, CURLOPT_QUICK_EXIT, 1L);
    set(handle, CURLOPT_BUFFERSIZE, bufferSize);
    set(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(handle, CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    set(handle, CURLOPT_HEADERDATA, this);
    set(handle, CURLOPT_WRITEFUNCTION, &CurlTransfer::onBytes);
    set(handle, CURLOPT_WRITEDATA, this);
    set(handle, CURLOPT_PRIVATE, this);
    if (request.rest) {
        const std::string range = std::to_string(request.rest->from) + "-";
        const std::string condition = "If-Range: " + request.rest->entityTag;
        set(handle, CURLOPT_RANGE, range.c_str());
        ownHeaders.reset(libcurl().slistAppend(nullptr, condition.c_str()));
        set(handle, CURLOPT_HTTPHEADER, ownHeaders.get());
    }
}

std::size_t CurlTransfer::onHeader(char* bytes, std::size_t size, std::size_t count, void* self)
{
    static_cast<CurlTransfer*>(self)->addHeader({bytes, size * count});
    return size * count;
}

void CurlTransfer::addHeader(std::string_view line)
{
    if (line.starts_with("HTTP/")) {
        head.headers.clear(); // of the answer before a redirect
        return;
    }
    const auto colon = line.find(':');
    if (colon != std::string_view::npos) {
        std::string name(line.substr(0, colon));
        std::ranges::transform(name, name.begin(),
                               [](unsigned char letter) { return std::tolower(letter); });
        head.headers[name] = trimmed(line.substr(colon + 1));
    }
}

bool CurlTransfer::accept()
{
    if (!accepted && !unwanted) {
        long status = 0;
        libcurl().easyGetinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
        head.status = static_cast<int>(status);
        const BodyWatch::Call call(watch);
        accepted = body->accept(head);
        unwanted = !accepted;
    }
    return accepted;
}

bool CurlTransfer::write(std::span<const std::byte> bytes)
{
    const BodyWatch::Call call(watch);
    return body->write(bytes);
}

std::size_t CurlTransfer::onBytes(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const std::size_t length = size * count;
    if (length == 0) {
        return 0;
    }
    if (!transfer.accept() || !transfer.write(std::as_bytes(std::span(bytes, length)))) {
        transfer.unwanted = true;
        return 0;
    }
    transfer.total += static_cast<std::int64_t>(length);
    return length;
}

std::optional<URLError> CurlTransfer::end(CURLcode result)
{
    if (unwanted) {
        return std::nullopt;
    }
    if (result != CURLE_OK) {
        return errorOf(result, handle());
    }
    accept(); // of an answer without a body
    return std::nullopt;
}

} // namespace vorlin
