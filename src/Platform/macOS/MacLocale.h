#pragma once

#include "Ports/Locale.h"

namespace vorlin {

/// The locale of the person's settings.
class MacLocale final : public Locale {
public:
    std::string languageCode() const override;
};

} // namespace vorlin
