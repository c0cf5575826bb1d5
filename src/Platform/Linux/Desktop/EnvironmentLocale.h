#pragma once

#include "Platform/Linux/Environment.h"
#include "Ports/Locale.h"

namespace vorlin {

/// The locale that the environment names, by the C library's rules for messages: the first of
/// LC_ALL, LC_MESSAGES and LANG that is set and not empty; unless that is the C locale, the
/// first entry of the list LANGUAGE goes before it.
class EnvironmentLocale final : public Locale {
public:
    explicit EnvironmentLocale(Environment environment);

    /// Never empty: "en" where the environment names no language (unset, C, C.UTF-8, POSIX).
    std::string languageCode() const override;

private:
    Environment environment;
};

} // namespace vorlin
