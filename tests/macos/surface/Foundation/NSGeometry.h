#pragma once

#include <CoreGraphics/CGGeometry.h>
#include <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;
typedef struct NSEdgeInsets {
    CGFloat top;
    CGFloat left;
    CGFloat bottom;
    CGFloat right;
} NSEdgeInsets;

FOUNDATION_EXPORT const NSPoint NSZeroPoint;
FOUNDATION_EXPORT const NSSize NSZeroSize;
FOUNDATION_EXPORT const NSRect NSZeroRect;

static inline NSPoint NSMakePoint(CGFloat x, CGFloat y)
{
    NSPoint point = {x, y};
    return point;
}
static inline NSSize NSMakeSize(CGFloat w, CGFloat h)
{
    NSSize size = {w, h};
    return size;
}
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat w, CGFloat h)
{
    NSRect rect = {{x, y}, {w, h}};
    return rect;
}

static inline NSEdgeInsets NSEdgeInsetsMake(CGFloat top, CGFloat left, CGFloat bottom,
                                            CGFloat right)
{
    NSEdgeInsets insets = {top, left, bottom, right};
    return insets;
}

FOUNDATION_EXPORT BOOL NSEqualRects(NSRect aRect, NSRect bRect);
FOUNDATION_EXPORT BOOL NSMouseInRect(NSPoint aPoint, NSRect aRect, BOOL flipped);
FOUNDATION_EXPORT BOOL NSPointInRect(NSPoint aPoint, NSRect aRect);

NS_ASSUME_NONNULL_END
