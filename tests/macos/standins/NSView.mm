// Views and their layers: what is set is written down, and can be read again.

#include "NSView.h"

#include "Described.h"

namespace standins {

bool& isNewSystem()
{
    static bool isNew = true;
    return isNew;
}

} // namespace standins

CALayerCornerCurve const kCACornerCurveContinuous = @"continuous";
const NSRect NSZeroRect = {};

#define NOTED(type, Name, member)                                                                  \
    -(void)set##Name : (type)value                                                                 \
    {                                                                                              \
        standins::note(self, _cmd, value);                                                         \
        member = value;                                                                            \
    }

@implementation CALayer
NOTED(id, Contents, _contents)
NOTED(CGFloat, ContentsScale, _contentsScale)
NOTED(CGFloat, CornerRadius, _cornerRadius)
NOTED(CALayerCornerCurve, CornerCurve, _cornerCurve)
NOTED(BOOL, MasksToBounds, _masksToBounds)
@end

@implementation NSResponder
@end

@implementation NSView {
@public
    std::vector<NSView*> _subviews;
    __unsafe_unretained NSWindow* _place;
}
- (instancetype)initWithFrame:(NSRect)frameRect
{
    self = [super init];
    _frame = frameRect;
    return self;
}
- (void)setFrame:(NSRect)frame
{
    standins::note(self, _cmd, frame);
    _frame = frame;
}
- (NSWindow*)window
{
    return _place;
}
- (NSRect)bounds
{
    return NSMakeRect(0, 0, _frame.size.width, _frame.size.height);
}
- (void)setWantsLayer:(BOOL)wants
{
    standins::note(self, _cmd, wants);
    _wantsLayer = wants;
    if (wants)
        _layer = [[CALayer alloc] init];
}
- (void)addSubview:(NSView*)view
{
    standins::note(self, _cmd, view);
    _subviews.push_back(view);
}
NOTED(NSViewLayerContentsRedrawPolicy, LayerContentsRedrawPolicy, _layerContentsRedrawPolicy)
NOTED(NSString*, ToolTip, _toolTip)
@end

@implementation NSVisualEffectView
NOTED(NSVisualEffectMaterial, Material, _material)
NOTED(NSVisualEffectBlendingMode, BlendingMode, _blendingMode)
NOTED(NSVisualEffectState, State, _state)
@end

@implementation NSGlassEffectView
NOTED(CGFloat, CornerRadius, _cornerRadius)
@end

std::vector<NSView*> standins::subviews(NSView* view)
{
    return view->_subviews;
}

void standins::setWindow(NSView* view, NSWindow* window)
{
    view->_place = window;
}
