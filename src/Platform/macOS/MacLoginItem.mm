#include "Platform/macOS/MacLoginItem.h"

#include "Platform/macOS/Objects/Text.h"

#include <ServiceManagement/ServiceManagement.h>

#include <stdexcept>

namespace vorlin {

bool MacLoginItem::isEnabled() const
{
    return [SMAppService mainAppService].status == SMAppServiceStatusEnabled;
}

void MacLoginItem::setEnabled(bool enabled)
{
    SMAppService* const program = [SMAppService mainAppService];
    NSError* error = nil;
    const BOOL done = enabled ? [program registerAndReturnError:&error]
                              : [program unregisterAndReturnError:&error];
    if (!done) {
        throw std::runtime_error(lineOf(error));
    }
}

} // namespace vorlin
