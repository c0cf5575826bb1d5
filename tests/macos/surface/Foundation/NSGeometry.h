#pragma once

#include <CoreGraphics/CGGeometry.h>
#include <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

// foundation/nspoint: "A point in a Cartesian coordinate system."
typedef CGPoint NSPoint;
// foundation/nssize: "A two-dimensional size."
typedef CGSize NSSize;
// foundation/nsrect: "A rectangle."
typedef CGRect NSRect;
// foundation/nsedgeinsets: "A description of the distance between the edges of two rectangles."
typedef struct NSEdgeInsets {
    CGFloat top;
    CGFloat left;
    CGFloat bottom;
    CGFloat right;
} NSEdgeInsets;

// foundation/nszerorect: "An NSRect structure set to 0 in width and height."
FOUNDATION_EXPORT const NSRect NSZeroRect;

// On no page that we have read; the bindings for Python have it, with as many arguments.
static inline NSPoint NSMakePoint(CGFloat x, CGFloat y)
{
    NSPoint point = {x, y};
    return point;
}
// On no page that we have read; the bindings for Python have it, with as many arguments.
static inline NSSize NSMakeSize(CGFloat w, CGFloat h)
{
    NSSize size = {w, h};
    return size;
}
// On no page that we have read; the bindings for Python have it, with as many arguments.
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat w, CGFloat h)
{
    NSRect rect = {{x, y}, {w, h}};
    return rect;
}

// On no page that we have read; the bindings for Python have it, with as many arguments.
static inline NSEdgeInsets NSEdgeInsetsMake(CGFloat top, CGFloat left, CGFloat bottom,
                                            CGFloat right)
{
    NSEdgeInsets insets = {top, left, bottom, right};
    return insets;
}

NS_ASSUME_NONNULL_END
