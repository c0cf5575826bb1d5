// Pictures of bytes: which bytes, and what they were said to be.

#include "Described.h"
#include "NSView.h"

#import <CoreGraphics/CoreGraphics.h>

const CFStringRef kCGColorSpaceSRGB = (CFStringRef) @"sRGB";

/// A colour space, what provides bytes, or a picture.
@interface StandInPicture : NSObject {
@public
    NSString* name;
    NSData* bytes;
}
@end

@implementation StandInPicture
@end

namespace {

template <class T>
T owned(id object)
{
    return reinterpret_cast<T>(const_cast<void*>((__bridge_retained const void*)object));
}

template <class T>
StandInPicture* seen(T reference)
{
    return (__bridge id)(const void*)reference;
}

} // namespace

CFDataRef CFDataCreate(CFAllocatorRef, const uint8_t* bytes, CFIndex length)
{
    return owned<CFDataRef>([NSData dataWithBytes:bytes length:static_cast<NSUInteger>(length)]);
}

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name)
{
    StandInPicture* space = [[StandInPicture alloc] init];
    space->name = (__bridge NSString*)name;
    return owned<CGColorSpaceRef>(space);
}

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data)
{
    StandInPicture* provider = [[StandInPicture alloc] init];
    provider->bytes = (__bridge NSData*)data;
    return owned<CGDataProviderRef>(provider);
}

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                         size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                         CGDataProviderRef provider, const CGFloat* decode, bool shouldInterpolate,
                         CGColorRenderingIntent intent)
{
    using standins::described;
    standins::note("CGImageCreate " + described(width) + "x" + described(height) + " " +
                   described(bitsPerComponent) + " of " + described(bitsPerPixel) + " bits, " +
                   described(bytesPerRow) + " a row, " + described(seen(space)->name) + " " +
                   described(bitmapInfo) + (decode == nullptr ? "" : " decoded") +
                   (shouldInterpolate ? " interpolated " : " ") + described((int)intent));
    StandInPicture* picture = [[StandInPicture alloc] init];
    picture->bytes = seen(provider)->bytes;
    return owned<CGImageRef>(picture);
}

std::string standins::pixelsOf(CALayer* layer)
{
    NSData* bytes = ((StandInPicture*)layer.contents)->bytes;
    return {static_cast<const char*>(bytes.bytes), bytes.length};
}
