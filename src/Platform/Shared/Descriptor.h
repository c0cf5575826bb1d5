#pragma once

#include <unistd.h>

#include <utility>

namespace vorlin {

/// Owns a file descriptor, or none.
class Descriptor {
public:
    Descriptor() = default;
    /// A negative number, as a call that failed returns it, is none.
    explicit Descriptor(int number) : value(number) {}
    Descriptor(Descriptor&& other) noexcept : value(std::exchange(other.value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other) {
            close();
            value = std::exchange(other.value, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    int number() const { return value; }
    explicit operator bool() const { return value >= 0; }

    /// Closes it now. Returns whether that went well: some file systems report only then that
    /// something could not be written.
    bool close() { return value < 0 || ::close(std::exchange(value, -1)) == 0; }

private:
    int value = -1;
};

} // namespace vorlin
