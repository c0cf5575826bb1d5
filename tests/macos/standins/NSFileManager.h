#pragma once

#import <Foundation/Foundation.h>

namespace standins {

/// The person's Application Support folders, of which the first one counts.
NSArray<NSURL*>* __strong& applicationSupport();

} // namespace standins
