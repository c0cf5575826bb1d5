#pragma once

#include "Platform/Shared/Curl/BodyWatch.h"
#include "Platform/Shared/Curl/CurlLibrary.h"
#include "Ports/HTTPClient.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vorlin {

/// One transfer: what libcurl is told of a request, and what it tells of the answer. Its thread.
class CurlTransfer {
public:
    /// `watch` sees each call of `body`, and outlives the transfer.
    CurlTransfer(const HTTPRequest& request, std::shared_ptr<HTTPBody> body, BodyWatch& watch);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    CURL* handle() const { return easy.get(); }

    /// Whether the body has taken the head, and how many bytes it has taken since.
    bool isAccepted() const { return accepted; }
    std::int64_t written() const { return total; }

    /// Why it did not end well; `result` is what libcurl says of the end.
    std::optional<URLError> end(CURLcode result);

private:
    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onBytes(char* bytes, std::size_t size, std::size_t count, void* self);
    void addHeader(std::string_view line);
    bool accept();
    bool write(std::span<const std::byte> bytes);

    struct FreeEasy {
        void operator()(CURL* handle) const { libcurl().easyCleanup(handle); }
    };
    struct FreeList {
        void operator()(curl_slist* list) const { libcurl().slistFreeAll(list); }
    };

    const std::shared_ptr<HTTPBody> body;
    BodyWatch& watch;
    /// Before the handle, which reads it to its end.
    std::unique_ptr<curl_slist, FreeList> ownHeaders;
    const std::unique_ptr<CURL, FreeEasy> easy;
    HTTPHead head;
    bool accepted = false;
    bool unwanted = false;
    std::int64_t total = 0;
};

} // namespace vorlin
