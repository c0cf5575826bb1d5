#pragma once

#include <string>

namespace vorlin {

/// The person's locale. Main loop.
class Locale {
public:
    virtual ~Locale() = default;

    /// The language code ("en", "fr"), or the empty string when the locale names none.
    virtual std::string languageCode() const = 0;
};

} // namespace vorlin
