#pragma once

#import <Foundation/Foundation.h>

namespace standins {

/// The language code of the person's locale; nil for none.
NSString* __strong& languageCode();

} // namespace standins
