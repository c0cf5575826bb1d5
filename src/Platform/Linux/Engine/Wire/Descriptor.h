#pragma once

#include <unistd.h>

#include <utility>

namespace vorlin::engine {

/// Owns a file descriptor.
class Descriptor {
public:
    Descriptor() = default;
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

    void close()
    {
        if (value >= 0) {
            ::close(std::exchange(value, -1));
        }
    }

private:
    int value = -1;
};

} // namespace vorlin::engine
