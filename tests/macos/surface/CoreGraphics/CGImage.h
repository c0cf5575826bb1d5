#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>

CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

typedef struct SURFACE_BRIDGED(id) CGImage* CGImageRef;
typedef struct SURFACE_BRIDGED(id) CGColor* CGColorRef;
typedef struct SURFACE_BRIDGED(id) CGColorSpace* CGColorSpaceRef;
typedef struct SURFACE_BRIDGED(id) CGContext* CGContextRef;
typedef struct SURFACE_BRIDGED(id) CGDataProvider* CGDataProviderRef;
typedef uint32_t CGDirectDisplayID;

typedef CF_ENUM(uint32_t, CGImageAlphaInfo) {
    kCGImageAlphaNone = 0,
    kCGImageAlphaPremultipliedLast = 1,
    kCGImageAlphaPremultipliedFirst = 2,
    kCGImageAlphaLast = 3,
    kCGImageAlphaFirst = 4,
    kCGImageAlphaNoneSkipLast = 5,
    kCGImageAlphaNoneSkipFirst = 6,
    kCGImageAlphaOnly = 7,
};
typedef CF_OPTIONS(uint32_t, CGBitmapInfo) {
    kCGBitmapAlphaInfoMask = 0x1F,
    kCGBitmapByteOrder32Little = 2 << 12,
    kCGBitmapByteOrder32Big = 4 << 12,
};
typedef CF_ENUM(int32_t, CGColorRenderingIntent) {
    kCGRenderingIntentDefault = 0,
};

CG_EXTERN const CFStringRef kCGColorSpaceSRGB;
CG_EXTERN CGColorSpaceRef _Nullable CGColorSpaceCreateWithName(CFStringRef _Nullable name);
CG_EXTERN CGColorSpaceRef _Nullable CGColorSpaceCreateDeviceRGB(void);
CG_EXTERN void CGColorSpaceRelease(CGColorSpaceRef _Nullable space);

typedef void (*CGDataProviderReleaseDataCallback)(void* _Nullable info, const void* data,
                                                  size_t size);
CG_EXTERN CGDataProviderRef _Nullable CGDataProviderCreateWithData(
    void* _Nullable info, const void* _Nullable data, size_t size,
    CGDataProviderReleaseDataCallback _Nullable releaseData);
CG_EXTERN CGDataProviderRef _Nullable CGDataProviderCreateWithCFData(CFDataRef _Nullable data);
CG_EXTERN void CGDataProviderRelease(CGDataProviderRef _Nullable provider);

CG_EXTERN CGImageRef _Nullable CGImageCreate(
    size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel, size_t bytesPerRow,
    CGColorSpaceRef _Nullable space, CGBitmapInfo bitmapInfo, CGDataProviderRef _Nullable provider,
    const CGFloat* _Nullable decode, bool shouldInterpolate, CGColorRenderingIntent intent);
CG_EXTERN size_t CGImageGetWidth(CGImageRef _Nullable image);
CG_EXTERN size_t CGImageGetHeight(CGImageRef _Nullable image);
CG_EXTERN void CGImageRelease(CGImageRef _Nullable image);

CG_EXTERN CGContextRef _Nullable CGBitmapContextCreate(void* _Nullable data, size_t width,
                                                       size_t height, size_t bitsPerComponent,
                                                       size_t bytesPerRow,
                                                       CGColorSpaceRef _Nullable space,
                                                       uint32_t bitmapInfo);
CG_EXTERN CGImageRef _Nullable CGBitmapContextCreateImage(CGContextRef _Nullable context);
CG_EXTERN void CGContextDrawImage(CGContextRef _Nullable c, CGRect rect,
                                  CGImageRef _Nullable image);
CG_EXTERN void CGContextScaleCTM(CGContextRef _Nullable c, CGFloat sx, CGFloat sy);
CG_EXTERN void CGContextTranslateCTM(CGContextRef _Nullable c, CGFloat tx, CGFloat ty);
CG_EXTERN void CGContextRelease(CGContextRef _Nullable c);

CG_EXTERN CGDirectDisplayID CGMainDisplayID(void);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
