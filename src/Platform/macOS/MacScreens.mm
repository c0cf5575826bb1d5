#include "Platform/macOS/MacScreens.h"

#include "Platform/macOS/Objects/Geometry.h"
#include "Platform/macOS/Objects/Observer.h"

#include <AppKit/AppKit.h>

#include <memory>
#include <utility>

namespace vorlin {

std::vector<Screen> MacScreens::all() const
{
    std::vector<Screen> screens;
    NSScreen* const main = [NSScreen mainScreen];
    for (NSScreen* screen in [NSScreen screens]) {
        NSNumber* const number = [screen.deviceDescription objectForKey:@"NSScreenNumber"];
        screens.push_back({std::to_string(number.unsignedIntValue), rectOf(screen.frame),
                           rectOf(screen.visibleFrame), [screen isEqual:main] != NO});
    }
    return screens;
}

std::optional<Point> MacScreens::pointer() const
{
    const NSPoint place = [NSEvent mouseLocation];
    return Point{place.x, place.y};
}

Subscription MacScreens::observe(std::function<void()> observer)
{
    return std::make_shared<Observer>(Observer([NSNotificationCenter defaultCenter],
                                               NSApplicationDidChangeScreenParametersNotification,
                                               nil, std::move(observer)));
}

} // namespace vorlin
