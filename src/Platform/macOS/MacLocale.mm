#include "Platform/macOS/MacLocale.h"

#include "Platform/macOS/Objects/Text.h"

#include <Foundation/Foundation.h>

namespace vorlin {

std::string MacLocale::languageCode() const
{
    return textOf([[NSLocale currentLocale] objectForKey:NSLocaleLanguageCode]);
}

} // namespace vorlin
