#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// unconfirmed: docs.rs/objc2-quartz-core: "pub type CALayerCornerCurve = NSString"
typedef NSString* CALayerCornerCurve NS_TYPED_ENUM;
// docs.rs/objc2-quartz-core: "pub static kCACornerCurveContinuous: &'static CALayerCornerCurve"
FOUNDATION_EXPORT CALayerCornerCurve const kCACornerCurveContinuous;

// quartzcore/calayer: "An object that manages image-based content and allows you to perform
// animations on that content."
@interface CALayer : NSObject
// docs.rs/objc2-quartz-core/CALayer: "pub fn layer() -> Retained<Self>"
+ (instancetype)layer;
// quartzcore/calayer/frame: "The layer’s frame rectangle."
@property CGRect frame;
// quartzcore/calayer/bounds: "The layer’s bounds rectangle."
@property CGRect bounds;
// quartzcore/calayer/contents: "An object that provides the contents of the layer."
@property(nullable, strong) id contents;
// quartzcore/calayer/contentsscale: "The scale factor applied to the layer."
@property CGFloat contentsScale;
// quartzcore/calayer/cornerradius: "The radius to use when drawing rounded corners for the layer’s
// background."
@property CGFloat cornerRadius;
// docs.rs/objc2-quartz-core/CALayer: "pub fn cornerCurve(&self) -> Retained<CALayerCornerCurve>"
@property(copy) CALayerCornerCurve cornerCurve;
// quartzcore/calayer/maskstobounds: "A Boolean indicating whether sublayers are clipped to the
// layer’s bounds."
@property BOOL masksToBounds;
// quartzcore/calayer/isopaque: "A Boolean value indicating whether the layer contains completely
// opaque content."
@property(getter=isOpaque) BOOL opaque;
@end

NS_ASSUME_NONNULL_END
