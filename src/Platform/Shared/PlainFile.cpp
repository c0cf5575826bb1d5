#include "Platform/Shared/PlainFile.h"

#include "Platform/Shared/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace vorlin {

namespace {

/// What is asked of a disk at once, so that a slow one can be seen to get on.
constexpr std::size_t largestPiece = 256 << 10;

[[noreturn]] void cannotRead(const std::filesystem::path& file, const std::string& reason)
{
    throw std::runtime_error("Cannot read " + oneLine(file.filename().string()) + ": " + reason +
                             ".");
}

[[noreturn]] void cannotReadNow(const std::filesystem::path& file)
{
    cannotRead(file, std::generic_category().message(errno));
}

} // namespace

std::string oneLine(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
    return text;
}

Bytes readPlainFile(const std::filesystem::path& file, std::size_t most,
                    const std::function<void()>& onProgress)
{
    if (file.empty() || file.native().find('\0') != std::string::npos) {
        cannotRead(file, "its name holds a NUL byte");
    }
    struct stat item = {};
    if (::stat(file.c_str(), &item) != 0) {
        cannotReadNow(file);
    }
    if (!S_ISREG(item.st_mode)) { // opening a device may already do something
        cannotRead(file, "it is no plain file");
    }
    // Not blocking, should it be exchanged for a pipe just now.
    const Descriptor opened(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened || ::fstat(opened.number(), &item) != 0) {
        cannotReadNow(file);
    }
    if (!S_ISREG(item.st_mode)) {
        cannotRead(file, "it is no plain file");
    }
    if (static_cast<std::uint64_t>(item.st_size) > most) {
        cannotRead(file, "it is too large");
    }
    // One byte more tells the end from a file that has grown meanwhile.
    Bytes bytes(static_cast<std::size_t>(item.st_size) + 1);
    std::size_t filled = 0;
    while (true) {
        const std::size_t wanted = std::min(bytes.size() - filled, largestPiece);
        const auto got = ::read(opened.number(), bytes.data() + filled, wanted);
        if (got < 0 && errno != EINTR) {
            cannotReadNow(file);
        }
        onProgress();
        if (got == 0) {
            break;
        }
        filled += got > 0 ? static_cast<std::size_t>(got) : 0;
        if (filled > most) {
            cannotRead(file, "it is too large");
        }
        if (filled == bytes.size()) {
            bytes.resize(std::min(most, filled * 2) + 1);
        }
    }
    bytes.resize(filled);
    return bytes;
}

} // namespace vorlin
