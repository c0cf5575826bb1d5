#include "Platform/macOS/MacAppearance.h"

#include "Platform/macOS/Objects/Observer.h"
#include "Platform/macOS/Objects/Ref.h"

#include <AppKit/AppKit.h>

#include <utility>

/// Is told when the program's appearance is another one.
@interface VorlinAppearanceObserver : NSObject {
@public
    const std::function<void()>* changed;
}
@end

@implementation VorlinAppearanceObserver
- (void)observeValueForKeyPath:(NSString*)path
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context
{
    (void)path;
    (void)object;
    (void)change;
    (void)context;
    if (changed != nullptr) {
        (*changed)();
    }
}
@end

namespace vorlin {

namespace {

NSString* const effectiveAppearance = @"effectiveAppearance";

class Changes {
public:
    explicit Changes(std::function<void()> changed)
        : changed(std::move(changed)),
          motion([NSWorkspace sharedWorkspace].notificationCenter,
                 NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification, nil, this->changed),
          look(autoreleased([[VorlinAppearanceObserver alloc] init]))
    {
        look.get()->changed = &this->changed;
        [NSApp addObserver:look.get()
                forKeyPath:effectiveAppearance
                   options:NSKeyValueObservingOptionNew
                   context:nullptr];
    }
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;
    ~Changes()
    {
        look.get()->changed = nullptr;
        [NSApp removeObserver:look.get() forKeyPath:effectiveAppearance];
    }

private:
    const std::function<void()> changed;
    Observer motion;
    Ref<VorlinAppearanceObserver> look;
};

} // namespace

bool MacAppearance::isDark() const
{
    NSArray<NSAppearanceName>* const known = @[ NSAppearanceNameAqua, NSAppearanceNameDarkAqua ];
    NSAppearance* const appearance = [NSApp effectiveAppearance];
    return [[appearance bestMatchFromAppearancesWithNames:known]
               isEqualToString:NSAppearanceNameDarkAqua] != NO;
}

bool MacAppearance::hasReducedMotion() const
{
    return [NSWorkspace sharedWorkspace].accessibilityDisplayShouldReduceMotion != NO;
}

std::shared_ptr<const void> MacAppearance::observe(std::function<void()> observer)
{
    return std::make_shared<Changes>(std::move(observer));
}

} // namespace vorlin
