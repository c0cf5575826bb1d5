#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// unconfirmed: docs.rs/objc2-quartz-core: "pub type CALayerCornerCurve = NSString"
typedef NSString* CALayerCornerCurve NS_TYPED_ENUM;
// docs.rs/objc2-quartz-core: "pub static kCACornerCurveContinuous: &'static CALayerCornerCurve"
FOUNDATION_EXPORT CALayerCornerCurve const kCACornerCurveContinuous;
// unconfirmed: docs.rs/objc2-quartz-core: "pub type CALayerContentsGravity = NSString"
typedef NSString* CALayerContentsGravity NS_TYPED_ENUM;
// quartzcore/calayercontentsgravity/resize: "The content is resized to fit the entire bounds
// rectangle."
FOUNDATION_EXPORT CALayerContentsGravity const kCAGravityResize;
// docs.rs/objc2-quartz-core: "pub static kCAGravityTopLeft: &'static CALayerContentsGravity"
FOUNDATION_EXPORT CALayerContentsGravity const kCAGravityTopLeft;

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
// quartzcore/calayer/contentsgravity: "A constant that specifies how the layer’s contents are
// positioned or scaled within its bounds."
@property(copy) CALayerContentsGravity contentsGravity;
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
// quartzcore/calayer/ishidden: "A Boolean indicating whether the layer is displayed."
@property(getter=isHidden) BOOL hidden;
// quartzcore/calayer/isgeometryflipped: "A Boolean that indicates whether the geometry of the
// layer and its sublayers is flipped vertically."
@property(getter=isGeometryFlipped) BOOL geometryFlipped;
// quartzcore/calayer/addsublayer(_:): "Appends the layer to the layer’s list of sublayers."
- (void)addSublayer:(CALayer*)layer;
// quartzcore/calayer/removefromsuperlayer(): "Detaches the layer from its parent layer."
- (void)removeFromSuperlayer;
// quartzcore/calayer/setneedsdisplay(): "Marks the layer’s contents as needing to be updated."
- (void)setNeedsDisplay;
@end

// quartzcore/catransaction: "A mechanism for grouping multiple layer-tree operations into atomic
// updates to the render tree."
@interface CATransaction : NSObject
// quartzcore/catransaction/begin(): "Begin a new transaction for the current thread."
+ (void)begin;
// quartzcore/catransaction/commit(): "Commit all changes made during the current transaction."
+ (void)commit;
// quartzcore/catransaction/flush(): "Flushes any extant implicit transaction."
+ (void)flush;
// quartzcore/catransaction/setdisableactions(_:): "Sets whether actions triggered as a result of
// property changes made within this transaction group are suppressed."
+ (void)setDisableActions:(BOOL)flag;
@end

NS_ASSUME_NONNULL_END
