#pragma once

#include "Models/HubListing.h"
#include "Ports/HTTPClient.h"
#include "Ports/WorkingFolders.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace vorlin {

/// A body that remembers why it wanted no more. Its task's thread writes it; once that has
/// completed, or has reported what it wrote, the main loop may read what it knows by then.
class DownloadBody : public HTTPBody {
public:
    /// The bytes that were there before what this task brings.
    virtual std::int64_t bytesBefore() const { return 0; }
    /// The bytes that are there now; ask only before the task starts or when it has completed.
    virtual std::int64_t bytesThere() const = 0;
    /// Why the answer is not what was asked for. Call it once, when the task has completed.
    virtual std::exception_ptr failure() = 0;
};

/// The list of a repository's files, in memory.
class ListingBody final : public DownloadBody {
public:
    explicit ListingBody(std::string repository) : repository(std::move(repository)) {}

    bool accept(const HTTPHead& head) override;
    bool write(std::span<const std::byte> bytes) override;
    std::int64_t bytesThere() const override { return static_cast<std::int64_t>(received.size()); }
    std::exception_ptr failure() override { return failed; }

    const std::string& text() const { return received; }

private:
    const std::string repository;
    std::string received;
    std::exception_ptr failed;
};

/// A file of a repository on its way to the disk, over several answers if need be.
class FileBody final : public DownloadBody {
public:
    FileBody(HubItem item, std::shared_ptr<WritableFile> file)
        : item(std::move(item)), file(std::move(file))
    {
    }

    /// What to ask for: the file, or, of a server that offers it, what is still missing of it.
    HTTPRequest request(const std::string& url);

    bool accept(const HTTPHead& head) override;
    bool write(std::span<const std::byte> bytes) override;
    std::int64_t bytesBefore() const override { return before; }
    std::int64_t bytesThere() const override { return position; }
    std::exception_ptr failure() override;

    /// Whether all has come that the list says, or else the server.
    bool isWhole() const { return accepted && size() == position; }
    /// Whether the refusal is one that may pass by itself.
    bool mayPass() const { return serverFailed; }

private:
    std::optional<std::int64_t> size() const { return item.size ? item.size : announced; }
    bool continues(const HTTPHead& head) const;
    void refuse(const HTTPHead& head);
    bool fits(std::int64_t more);

    const HubItem item;
    const std::shared_ptr<WritableFile> file;
    /// Where this request begins; what is there before the bytes it brings; what is there now.
    std::int64_t asked = 0;
    std::int64_t before = 0;
    std::int64_t position = 0;
    /// The entity that the bytes are of, if the server resumes it.
    std::optional<std::string> entityTag;
    /// The size that the answer with its beginning told.
    std::optional<std::int64_t> announced;
    bool accepted = false;
    bool serverFailed = false;
    std::exception_ptr failed;
};

} // namespace vorlin
