#pragma once

#include <type_traits>

namespace vorlin {

/// A shared library that is loaded when it is first needed, and stays. For those that bring many
/// others along and that a person may never need: what is linked takes memory and time from the
/// start on. Any thread.
class LateLibrary {
public:
    /// The address of something in a library; becomes a pointer to a function of any type.
    class Symbol {
    public:
        explicit Symbol(void* address) : address(address) {}

        template <class Function, class = std::enable_if_t<std::is_function_v<Function>>>
        operator Function*() const // NOLINT(google-explicit-constructor): that is its purpose
        {
            return reinterpret_cast<Function*>(address);
        }

    private:
        void* address;
    };

    /// `name` is the library's own, "libcurl.so.4", by which the system finds it, or a path, which
    /// macOS wants. Fails with a `std::runtime_error` of one line when it cannot be loaded.
    explicit LateLibrary(const char* name);

    /// What the library, or one that it needs, has under this name. Fails with a
    /// `std::runtime_error` when there is nothing.
    Symbol find(const char* name) const;

private:
    void* handle;
};

} // namespace vorlin
