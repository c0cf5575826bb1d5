#pragma once

#include <ServiceManagement/ServiceManagement.h>

namespace standins {

/// How the system answers about the program among its login items.
struct LoginItems {
    SMAppServiceStatus status = SMAppServiceStatusNotRegistered;
    /// What it says when it refuses to change that; nil where it does not refuse.
    NSError* refusal = nil;
};
LoginItems& loginItems();

} // namespace standins
