#pragma once

#include "Platform/macOS/Objects/CFRef.h"
#include "Platform/macOS/Objects/Ref.h"

#include <CoreGraphics/CoreGraphics.h>
#include <QuartzCore/QuartzCore.h>

#include <cstddef>
#include <cstdint>

namespace vorlin {

/// Shows a copy of these pixels in a layer: premultiplied, four bytes each, blue, green, red,
/// alpha; `scale` of them to a point.
inline void showIn(CALayer* layer, const std::uint8_t* pixels, std::size_t width,
                   std::size_t height, std::size_t bytesPerRow, double scale)
{
    constexpr std::size_t bitsPerPart = 8;
    constexpr std::size_t bitsPerPixel = 32;
    const CFRef data(
        CFDataCreate(kCFAllocatorDefault, pixels, static_cast<CFIndex>(bytesPerRow * height)));
    const CFRef provider(CGDataProviderCreateWithCFData(data.get()));
    const CFRef space(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    const CFRef image(CGImageCreate(width, height, bitsPerPart, bitsPerPixel, bytesPerRow,
                                    space.get(),
                                    static_cast<CGBitmapInfo>(kCGBitmapByteOrder32Little) |
                                        static_cast<CGBitmapInfo>(kCGImageAlphaPremultipliedFirst),
                                    provider.get(), nullptr, false, kCGRenderingIntentDefault));
    layer.contents = nsObject(image.get());
    layer.contentsScale = scale;
}

} // namespace vorlin
