#pragma once

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

    std::span<const std::byte> bytes() const { return {data, size}; }
    std::string_view text() const { return {reinterpret_cast<const char*>(data), size}; }

private:
    const std::byte* data = nullptr;
    std::size_t size = 0;
};

} // namespace vorlin::mil
