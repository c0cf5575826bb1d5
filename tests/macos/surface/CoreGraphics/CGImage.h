#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// coregraphics/cgimage: "A bitmap image or image mask."
typedef struct SURFACE_BRIDGED(id) CGImage* CGImageRef;
// coregraphics/cgcolorspace: "A profile that specifies how to interpret a color value for
// display."
typedef struct SURFACE_BRIDGED(id) CGColorSpace* CGColorSpaceRef;
// coregraphics/cgdataprovider: "An abstraction for data-reading tasks that eliminates the need to
// manage a raw memory buffer."
typedef struct SURFACE_BRIDGED(id) CGDataProvider* CGDataProviderRef;

// coregraphics/cgimagealphainfo: "Storage options for alpha component data."
typedef CF_ENUM(uint32_t, CGImageAlphaInfo) {
    // coregraphics/cgimagealphainfo/none: "There is no alpha channel."
    kCGImageAlphaNone = 0,
    // coregraphics/cgimagealphainfo/premultipliedlast: "The alpha component is stored in the least
    // significant bits of each pixel and the color components have already been multiplied by this
    // alpha value."
    kCGImageAlphaPremultipliedLast = 1,
    // coregraphics/cgimagealphainfo/premultipliedfirst: "The alpha component is stored in the most
    // significant bits of each pixel and the color components have already been multiplied by this
    // alpha value."
    kCGImageAlphaPremultipliedFirst = 2,
    // coregraphics/cgimagealphainfo/last: "The alpha component is stored in the least significant
    // bits of each pixel."
    kCGImageAlphaLast = 3,
    // coregraphics/cgimagealphainfo/first: "The alpha component is stored in the most significant
    // bits of each pixel."
    kCGImageAlphaFirst = 4,
    // coregraphics/cgimagealphainfo/noneskiplast: "There is no alpha channel."
    kCGImageAlphaNoneSkipLast = 5,
    // coregraphics/cgimagealphainfo/noneskipfirst: "There is no alpha channel."
    kCGImageAlphaNoneSkipFirst = 6,
    // coregraphics/cgimagealphainfo/alphaonly: "There is no color data, only an alpha channel."
    kCGImageAlphaOnly = 7,
};
// coregraphics/cgbitmapinfo: "Component information for a bitmap image."
typedef CF_OPTIONS(uint32_t, CGBitmapInfo) {
    // coregraphics/cgbitmapinfo/1454277-alphainfomask: "The alpha information mask."
    kCGBitmapAlphaInfoMask = 0x1F,
    // coregraphics/cgbitmapinfo/1454843-byteorder32little: "32-bit, little endian format."
    kCGBitmapByteOrder32Little = 2 << 12,
    // coregraphics/cgbitmapinfo/1456467-byteorder32big: "32-bit, big endian format."
    kCGBitmapByteOrder32Big = 4 << 12,
};
// coregraphics/cgcolorrenderingintent: "Handling options for colors that are not located within
// the destination color space of a graphics context."
typedef CF_ENUM(int32_t, CGColorRenderingIntent) {
    // coregraphics/cgcolorrenderingintent/defaultintent: "The default rendering intent for the
    // graphics context."
    kCGRenderingIntentDefault = 0,
};

// coregraphics/kcgcolorspacesrgb: "The standard Red Green Blue (sRGB) color space."
CG_EXTERN const CFStringRef kCGColorSpaceSRGB;
// coregraphics/1408921-cgcolorspacecreatewithname: "Creates a specified type of Quartz color
// space."
CG_EXTERN CGColorSpaceRef _Nullable CGColorSpaceCreateWithName(CFStringRef _Nullable name);

// coregraphics/cgdataproviderreleasedatacallback: "A callback function that releases data you
// supply to the function init(dataInfo:data:size:releaseData:)."
typedef void (*CGDataProviderReleaseDataCallback)(void* _Nullable info, const void* data,
                                                  size_t size);
// coregraphics/cgdataprovider/1408284-init: "Creates a data provider that reads from a CFData
// object."
CG_EXTERN CGDataProviderRef _Nullable CGDataProviderCreateWithCFData(CFDataRef _Nullable data);

// coregraphics/cgimage/1455149-init: "Creates a bitmap image from data supplied by a data
// provider."
CG_EXTERN CGImageRef _Nullable CGImageCreate(
    size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel, size_t bytesPerRow,
    CGColorSpaceRef _Nullable space, CGBitmapInfo bitmapInfo, CGDataProviderRef _Nullable provider,
    const CGFloat* _Nullable decode, bool shouldInterpolate, CGColorRenderingIntent intent);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
