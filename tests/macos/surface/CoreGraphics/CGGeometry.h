#pragma once

#include <CoreFoundation/CFBase.h>

#define CG_EXTERN SURFACE_EXTERN

CF_ASSUME_NONNULL_BEGIN

typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;
typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;
typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

CG_EXTERN const CGRect CGRectZero;

static inline CGPoint CGPointMake(CGFloat x, CGFloat y)
{
    CGPoint point = {x, y};
    return point;
}
static inline CGSize CGSizeMake(CGFloat width, CGFloat height)
{
    CGSize size = {width, height};
    return size;
}
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    CGRect rect = {{x, y}, {width, height}};
    return rect;
}

CF_ASSUME_NONNULL_END
