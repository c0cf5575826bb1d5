#pragma once

#import <Foundation/Foundation.h>

namespace standins {

/// Tells whoever listens to this name, and to this object or to any, on this thread.
void post(NSNotificationCenter* center, NSNotificationName name, id object = nil);

/// How many listen at this centre.
NSUInteger observers(NSNotificationCenter* center);

} // namespace standins
