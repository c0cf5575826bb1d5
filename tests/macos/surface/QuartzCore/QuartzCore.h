#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* CALayerCornerCurve NS_TYPED_ENUM;
FOUNDATION_EXPORT CALayerCornerCurve const kCACornerCurveContinuous;
typedef NSString* CALayerContentsGravity NS_TYPED_ENUM;
FOUNDATION_EXPORT CALayerContentsGravity const kCAGravityResize;
FOUNDATION_EXPORT CALayerContentsGravity const kCAGravityTopLeft;

@interface CALayer : NSObject
+ (instancetype)layer;
@property CGRect frame;
@property CGRect bounds;
@property(nullable, strong) id contents;
@property(copy) CALayerContentsGravity contentsGravity;
@property CGFloat contentsScale;
@property CGFloat cornerRadius;
@property(copy) CALayerCornerCurve cornerCurve;
@property BOOL masksToBounds;
@property(getter=isOpaque) BOOL opaque;
@property(getter=isHidden) BOOL hidden;
@property(getter=isGeometryFlipped) BOOL geometryFlipped;
- (void)addSublayer:(CALayer*)layer;
- (void)removeFromSuperlayer;
- (void)setNeedsDisplay;
@end

@interface CATransaction : NSObject
+ (void)begin;
+ (void)commit;
+ (void)flush;
+ (void)setDisableActions:(BOOL)flag;
@end

NS_ASSUME_NONNULL_END
