#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

namespace vorlin::mil {

/// A whole file, mapped read-only. Its pages come from the file when they are touched and may
/// leave again, so that a mapped file costs what is used of it. The file must not shrink while
/// it is mapped.
class MappedFile {
public:
    /// Throws Error when the file cannot be opened or is not a regular file.
    explicit MappedFile(const std::filesystem::path& path);
    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&&) = delete;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile();

    /// Has its pages come from the file, in order, so that nobody waits for them later; gives up
    /// soon after `stop` became true. Any thread, beside others that read.
    void readIn(const std::atomic<bool>& stop) const;

    std::span<const std::byte> bytes() const { return {data, size}; }
    std::string_view text() const { return {reinterpret_cast<const char*>(data), size}; }

private:
    const std::byte* data = nullptr;
    std::size_t size = 0;
};

} // namespace vorlin::mil
