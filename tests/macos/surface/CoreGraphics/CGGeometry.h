#pragma once

#include <CoreFoundation/CFBase.h>

#define CG_EXTERN SURFACE_EXTERN

CF_ASSUME_NONNULL_BEGIN

// corefoundation/cgpoint: "A structure that contains a point in a two-dimensional coordinate
// system."
typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;
// corefoundation/cgsize: "A structure that contains width and height values."
typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;
// corefoundation/cgrect: "A structure that contains the location and dimensions of a rectangle."
typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

// coregraphics/1455746-cgpointmake: "Returns a point with the specified coordinates."
static inline CGPoint CGPointMake(CGFloat x, CGFloat y)
{
    CGPoint point = {x, y};
    return point;
}
// coregraphics/1455082-cgsizemake: "Returns a size with the specified dimension values."
static inline CGSize CGSizeMake(CGFloat width, CGFloat height)
{
    CGSize size = {width, height};
    return size;
}
// coregraphics/1455245-cgrectmake: "Returns a rectangle with the specified coordinate and size
// values."
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    CGRect rect = {{x, y}, {width, height}};
    return rect;
}

CF_ASSUME_NONNULL_END
