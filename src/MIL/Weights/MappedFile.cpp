// Mapping a file is the one thing the engine asks of the system beyond the standard library;
// every desktop it runs on offers these calls.
#include "MIL/Weights/MappedFile.h"

#include "MIL/Error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vorlin::mil {

namespace {

/// Closes its descriptor when it goes.
class Descriptor {
public:
    explicit Descriptor(int number) : number(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (number >= 0) {
            ::close(number);
        }
    }
    const int number;
};

[[noreturn]] void refuse(const std::filesystem::path& path, const std::string& why)
{
    throw Error("cannot read " + path.string() + ": " + why);
}

} // namespace

MappedFile::MappedFile(const std::filesystem::path& path)
{
    // Without O_NONBLOCK the open of a pipe would wait for its writer.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (file.number < 0 || ::fstat(file.number, &status) != 0) {
        refuse(path, std::generic_category().message(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(path, "it is not a regular file");
    }
    size = static_cast<std::size_t>(status.st_size);
    if (size == 0) {
        return;
    }
    void* const mapping = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.number, 0);
    if (mapping == MAP_FAILED) {
        refuse(path, std::generic_category().message(errno));
    }
    data = static_cast<const std::byte*>(mapping);
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : data(std::exchange(other.data, nullptr)), size(std::exchange(other.size, 0))
{
}

void MappedFile::readIn(const std::atomic<bool>& stop) const
{
    constexpr std::size_t page = 4096; // none is smaller
    constexpr std::size_t piece = std::size_t{4} << 20;
    for (std::size_t at = 0; at < size && !stop; at += page) {
        if (at % piece == 0) { // while one piece is touched, the disk is at the next
            ::posix_madvise(const_cast<std::byte*>(data) + at, std::min(2 * piece, size - at),
                            POSIX_MADV_WILLNEED);
        }
        static_cast<void>(*static_cast<const volatile std::byte*>(data + at));
    }
}

MappedFile::~MappedFile()
{
    if (data != nullptr) {
        ::munmap(const_cast<std::byte*>(data), size);
    }
}

} // namespace vorlin::mil
