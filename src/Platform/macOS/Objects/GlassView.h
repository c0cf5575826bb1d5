#pragma once

#include "Platform/macOS/Objects/Ref.h"

#include <AppKit/AppKit.h>
#include <QuartzCore/QuartzCore.h>

namespace vorlin {

/// The system's glass; where it is too old to have any, its translucent material.
inline NSView* makeGlassView()
{
    if (@available(macOS 26.0, *)) {
        return autoreleased([[NSGlassEffectView alloc] initWithFrame:NSZeroRect]);
    }
    NSVisualEffectView* const view =
        autoreleased([[NSVisualEffectView alloc] initWithFrame:NSZeroRect]);
    view.material = NSVisualEffectMaterialHUDWindow;
    view.blendingMode = NSVisualEffectBlendingModeBehindWindow;
    view.state = NSVisualEffectStateActive; // though the panel never is
    view.wantsLayer = YES;
    view.layer.masksToBounds = YES;
    view.layer.cornerCurve = kCACornerCurveContinuous;
    return view;
}

inline void setCornerRadius(NSView* glass, double radius)
{
    if (@available(macOS 26.0, *)) {
        if ([glass isKindOfClass:[NSGlassEffectView class]]) {
            [static_cast<NSGlassEffectView*>(glass) setCornerRadius:radius];
            return;
        }
    }
    glass.layer.cornerRadius = radius;
}

} // namespace vorlin
