#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;

// appkit/nsimage: "A high-level interface for manipulating image data."
@interface NSImage : NSObject <NSCopying>
// appkit/nsimage/init(systemsymbolname:accessibilitydescription:): "Creates a symbol image with
// the system symbol name and accessibility description you specify."
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description
    // appkit/nsimage/withsymbolconfiguration(_:): "Creates a new symbol image with the specified
    // configuration."
    API_AVAILABLE(macos(11.0));
// appkit/nsimage/size: "The size of the image."
@property NSSize size;
// appkit/nsimage/accessibilitydescription: "The image’s accessibility description."
@property(nullable, copy) NSString* accessibilityDescription;
@end

// appkit/nscolor: "An object that stores color data and sometimes opacity (alpha value)."
@interface NSColor : NSObject <NSCopying>
// appkit/nscolor/clear: "Returns a color object whose grayscale and alpha values are both 0.0."
@property(class, readonly, strong) NSColor* clearColor;
@end

NS_ASSUME_NONNULL_END
