#pragma once

namespace vorlin {

/// Whether the desktop starts this program when the person logs in. Main loop.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    /// As things stand now, whoever made them so.
    virtual bool isEnabled() const = 0;

    /// Makes it so. Throws a `std::runtime_error` of one line when it cannot be done.
    virtual void setEnabled(bool enabled) = 0;
};

} // namespace vorlin
