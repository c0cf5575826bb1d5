#include "Platform/macOS/MacOverlayPanel.h"

#include "Platform/macOS/Objects/Geometry.h"
#include "Platform/macOS/Objects/GlassView.h"
#include "Platform/macOS/Objects/Observer.h"
#include "Platform/macOS/Objects/Picture.h"
#include "Platform/macOS/Objects/Ref.h"

#include <AppKit/AppKit.h>
#include <QuartzCore/QuartzCore.h>

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

/// No more than 60 frames a second.
constexpr auto frame = std::chrono::milliseconds(16);

NSPanel* makePanel(NSView* content)
{
    NSPanel* const panel =
        autoreleased([[NSPanel alloc] initWithContentRect:NSZeroRect
                                                styleMask:NSWindowStyleMaskNonactivatingPanel
                                                  backing:NSBackingStoreBuffered
                                                    defer:YES]);
    [panel setContentView:content];
    [panel setOpaque:NO];
    [panel setBackgroundColor:[NSColor clearColor]];
    [panel setHasShadow:NO];
    [panel setHidesOnDeactivate:NO]; // panels do, and this program is hardly ever the active one
    [panel setLevel:NSStatusWindowLevel];
    [panel setIgnoresMouseEvents:YES];
    [panel setCollectionBehavior:NSWindowCollectionBehaviorCanJoinAllSpaces |
                                 NSWindowCollectionBehaviorStationary |
                                 NSWindowCollectionBehaviorFullScreenAuxiliary];
    return panel;
}

NSView* makeView()
{
    NSView* const view = autoreleased([[NSView alloc] initWithFrame:NSZeroRect]);
    view.wantsLayer = YES;
    view.layerContentsRedrawPolicy = NSViewLayerContentsRedrawNever; // they are ours
    return view;
}

} // namespace

struct MacOverlayPanel::Panel {
    Ref<NSView> content{makeView()};
    Ref<NSView> glass{makeGlassView()};
    Ref<NSView> picture{makeView()};
    Ref<NSPanel> window{makePanel(content.get())};
    Observer scale;
};

MacOverlayPanel::MacOverlayPanel(MainLoop& loop) : loop(loop), panel(std::make_unique<Panel>())
{
    [panel->content.get() addSubview:panel->glass.get()];
    [panel->content.get() addSubview:panel->picture.get()];
    // Only when it is on a screen does a window know how many pixels a point has there.
    NSPanel* const window = panel->window.get();
    panel->scale =
        Observer([NSNotificationCenter defaultCenter],
                 NSWindowDidChangeBackingPropertiesNotification, window, [this] { showPicture(); });
}

MacOverlayPanel::~MacOverlayPanel()
{
    [panel->window.get() orderOut:nil];
}

void MacOverlayPanel::setContent(Draw content)
{
    draw = std::move(content);
    contentChanged();
}

void MacOverlayPanel::contentChanged()
{
    if (isVisible() && !nextFrame) {
        nextFrame = loop.startTimer(frame, [this] { showPicture(); });
    }
}

bool MacOverlayPanel::isVisible() const
{
    return panel->window.get().isVisible != NO;
}

double MacOverlayPanel::alpha() const
{
    return panel->window.get().alphaValue;
}

void MacOverlayPanel::setFrame(const Rect& place)
{
    [panel->window.get() setFrame:nsRect(place) display:YES];
    showPicture();
}

void MacOverlayPanel::order(Order order)
{
    if (order == Order::front) {
        showPicture();
        [panel->window.get() orderFrontRegardless];
    } else {
        [panel->window.get() orderOut:nil];
    }
}

void MacOverlayPanel::animateAlpha(double to, Duration duration, Work whenDone)
{
    NSPanel* const window = panel->window.get();
    if (duration <= Duration::zero()) {
        [window setAlphaValue:to];
        if (whenDone) {
            done = loop.startTimer(Duration::zero(), std::move(whenDone));
        }
        return;
    }
    const double seconds = std::chrono::duration<double>(duration).count();
    const auto change = ^(NSAnimationContext* context) {
      [context setDuration:seconds];
      [[window animator] setAlphaValue:to];
    };
    if (whenDone) {
        [NSAnimationContext runAnimationGroup:change
                            completionHandler:^{
                              whenDone();
                            }];
    } else {
        [NSAnimationContext runAnimationGroup:change];
    }
}

void MacOverlayPanel::showPicture()
{
    nextFrame.reset();
    const NSRect bounds = panel->content.get().bounds;
    const double scale = panel->window.get().backingScaleFactor;
    if (!draw || bounds.size.width <= 0 || bounds.size.height <= 0) {
        return;
    }
    const OverlayPicture picture = draw(bounds.size.width, bounds.size.height, scale);
    panel->picture.get().frame = bounds;
    showIn(panel->picture.get().layer, picture.pixels, picture.width, picture.height,
           picture.bytesPerRow, scale);
    panel->glass.get().frame = nsRect(picture.glass);
    setCornerRadius(panel->glass.get(), picture.cornerRadius);
}

} // namespace vorlin
