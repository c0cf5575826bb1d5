#include "Models/DownloadBody.h"

#include "Models/DownloadError.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace vorlin {

namespace {

constexpr int ok = 200;
constexpr int partialContent = 206;
constexpr int tooManyRequests = 429;
constexpr int serverErrors = 500;

std::string_view header(const HTTPHead& head, const char* name)
{
    const auto found = head.headers.find(name);
    return found == head.headers.end() ? std::string_view() : found->second;
}

/// The whole of `text` as a number, if it is one.
std::optional<std::int64_t> number(std::string_view text)
{
    std::int64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    const bool whole = error == std::errc() && stopped == end && value >= 0;
    return whole ? std::optional(value) : std::nullopt;
}

/// "bytes FIRST-LAST/TOTAL", of which the total may be unknown ("*").
struct ContentRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::optional<std::int64_t> total;
};

std::optional<ContentRange> contentRange(std::string_view text)
{
    constexpr std::string_view unit = "bytes ";
    const auto dash = text.find('-');
    const auto slash = text.find('/');
    if (!text.starts_with(unit) || dash == std::string_view::npos ||
        slash == std::string_view::npos || dash > slash) {
        return std::nullopt;
    }
    const auto first = number(text.substr(unit.size(), dash - unit.size()));
    const auto last = number(text.substr(dash + 1, slash - dash - 1));
    const auto total = number(text.substr(slash + 1));
    const bool fits = first && last && *first <= *last && (!total || *last < *total) &&
                      (total || text.substr(slash + 1) == "*");
    return fits ? std::optional(ContentRange{*first, *last, total}) : std::nullopt;
}

/// A strong entity tag: what has it is the same byte for byte.
bool isStrong(std::string_view tag)
{
    const auto isPlain = [](char each) { return each > ' ' && each < '\x7F'; };
    return tag.size() >= 2 && tag.front() == '"' && tag.back() == '"' &&
           std::ranges::all_of(tag, isPlain);
}

std::exception_ptr badResponse(const std::string& line)
{
    return std::make_exception_ptr(URLError(URLError::Code::badServerResponse, line));
}

/// The time that a server asks to wait, for a person; nothing when it names none.
std::string waitingTime(std::string_view retryAfter)
{
    constexpr std::int64_t minute = 60;
    constexpr std::int64_t hour = 60 * minute;
    const auto seconds = number(retryAfter);
    if (!seconds) {
        return "";
    }
    const auto atLeast = [seconds](std::int64_t unit) {
        return std::to_string((*seconds - 1) / unit + 1);
    };
    if (*seconds > 2 * hour) {
        return atLeast(hour) + " hours";
    }
    if (*seconds > 2 * minute) {
        return atLeast(minute) + " minutes";
    }
    return std::to_string(*seconds) + (*seconds == 1 ? " second" : " seconds");
}

std::string refusal(const HTTPHead& head, const std::string& path)
{
    const std::string status = std::to_string(head.status);
    if (head.status == tooManyRequests) {
        const std::string time = waitingTime(header(head, "retry-after"));
        return "The model hub takes no more requests for now (429). Try again " +
               (time.empty() ? "later." : "in " + time + ".");
    }
    if (head.status >= serverErrors) {
        return "The model hub has a problem of its own (" + status + "). Try again later.";
    }
    return "The model hub refused a file of the model (" + status + "): " + shown(path) + ".";
}

} // namespace

bool ListingBody::accept(const HTTPHead& head)
{
    if (head.status != ok) {
        failed = std::make_exception_ptr(DownloadError::notFound(repository));
    }
    return !failed;
}

bool ListingBody::write(std::span<const std::byte> bytes)
{
    if (bytes.size() > largestListing - received.size()) {
        failed = badResponse("The model hub's list of files is too long.");
        return false;
    }
    received.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return true;
}

HTTPRequest FileBody::request(const std::string& url)
{
    accepted = false;
    serverFailed = false;
    failed = nullptr;
    asked = entityTag ? position : 0;
    before = position;
    if (asked == 0) {
        return {url, std::nullopt};
    }
    return {url, HTTPRequest::Rest{asked, *entityTag}};
}

bool FileBody::continues(const HTTPHead& head) const
{
    const auto range = contentRange(header(head, "content-range"));
    const auto tag = header(head, "etag");
    if (asked == 0 || !range || range->first != asked || (!tag.empty() && tag != entityTag)) {
        return false;
    }
    // Of a rest whose end nobody knows nobody can tell whether it is all.
    const auto end = size() ? size() : range->total;
    return end && range->last + 1 == *end && (!range->total || *range->total == *end);
}

void FileBody::refuse(const HTTPHead& head)
{
    serverFailed = head.status >= serverErrors;
    failed = badResponse(refusal(head, item.path));
}

bool FileBody::fits(std::int64_t more)
{
    if (item.size && more > *item.size - position) {
        failed = badResponse("The model hub sent more than it lists for " + shown(item.path) + ".");
    }
    return !failed;
}

bool FileBody::accept(const HTTPHead& head)
{
    const bool rest = head.status == partialContent && continues(head);
    if (!rest && head.status != ok) {
        refuse(head);
        return false;
    }
    try {
        if (!rest && position > 0) {
            file->clear();
            position = 0;
        }
    } catch (const DiskError&) {
        failed = std::current_exception();
        return false;
    }
    before = position;
    const auto tag = header(head, "etag");
    if (!rest) {
        announced = number(header(head, "content-length"));
        const bool resumes = header(head, "accept-ranges") == "bytes" && isStrong(tag);
        entityTag = resumes ? std::optional(std::string(tag)) : std::nullopt;
    }
    accepted = true;
    return fits(number(header(head, "content-length")).value_or(0));
}

bool FileBody::write(std::span<const std::byte> bytes)
{
    const auto count = static_cast<std::int64_t>(bytes.size());
    if (!fits(count)) {
        return false;
    }
    try {
        file->append(bytes);
    } catch (const DiskError&) {
        failed = std::current_exception();
        return false;
    }
    position += count;
    return true;
}

std::exception_ptr FileBody::failure()
{
    if (!failed && !accepted) {
        failed = std::make_exception_ptr(URLError(URLError::Code::badServerResponse));
    }
    if (!failed && size() && position < *size()) {
        failed = badResponse("The model hub sent less than it " +
                             std::string(item.size ? "lists" : "announced") + " for " +
                             shown(item.path) + ".");
    }
    return failed;
}

} // namespace vorlin
