#include "Platform/Linux/Overlay/X11OverlayPanel.h"

#include "Platform/Linux/Overlay/X11OverlayWindow.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vorlin {

namespace {

/// No more than 60 frames a second.
constexpr std::int64_t frameNs = 1'000'000'000 / 60;

} // namespace

X11OverlayPanel::X11OverlayPanel(const X11Screens& screens) : X11OverlayPanel(screens, inDisplay) {}

std::unique_ptr<OverlayWindow> X11OverlayPanel::inDisplay(std::function<void()> showAgain)
{
    return std::make_unique<X11OverlayWindow>(std::move(showAgain));
}

X11OverlayPanel::X11OverlayPanel(const X11Screens& screens, const MakeWindow& makeWindow)
    : screens(screens), window(makeWindow([this] { frameSoon(); }))
{
    fade.setStartValue(0.0);
    fade.setEndValue(0.0);
    // Most of the way at once: what appears is seen with its first frame.
    fade.setEasingCurve(QEasingCurve::OutQuad);
    QObject::connect(&fade, &QVariantAnimation::valueChanged, &fade, [this] { frameSoon(); });
    QObject::connect(&fade, &QVariantAnimation::finished, &fade, [this] {
        frameSoon();
        if (const auto done = std::exchange(whenFaded, {})) {
            done();
        }
    });
    nextFrame.setSingleShot(true);
    nextFrame.setTimerType(Qt::PreciseTimer);
    QObject::connect(&nextFrame, &QTimer::timeout, &nextFrame, [this] { showFrame(); });
}

void X11OverlayPanel::setContent(Draw content)
{
    draw = std::move(content);
    frameSoon();
}

double X11OverlayPanel::alpha() const
{
    return alphaAfter(0);
}

double X11OverlayPanel::alphaAfter(std::int64_t milliseconds) const
{
    const double from = fade.startValue().toDouble();
    const double to = fade.endValue().toDouble();
    if (fade.state() != QAbstractAnimation::Running) {
        return to;
    }
    const auto passed = static_cast<double>(sinceFadeBegan.elapsed() + milliseconds);
    const double progress = std::min(passed / fade.duration(), 1.0);
    return from + (to - from) * fade.easingCurve().valueForProgress(progress);
}

void X11OverlayPanel::setFrame(const Rect& frame)
{
    place = devicePixels(frame, screens.space());
    scale = screens.space().scale;
    frameSoon();
}

void X11OverlayPanel::order(Order order)
{
    visible = order == Order::front;
    if (visible) {
        window->raise();
        frameSoon();
    } else {
        nextFrame.stop();
        window->hide();
    }
}

void X11OverlayPanel::animateAlpha(double to, Duration duration, Work whenDone)
{
    const double from = alpha();
    fade.stop();
    whenFaded = {};
    const auto length = std::chrono::duration_cast<std::chrono::milliseconds>(duration);
    const bool atOnce = withoutMotion || length.count() <= 0;
    fade.setStartValue(atOnce ? to : from);
    fade.setEndValue(to);
    fade.setDuration(atOnce ? 0 : static_cast<int>(length.count()));
    if (atOnce) {
        QTimer::singleShot(0, &fade, [work = std::move(whenDone)] {
            if (work) {
                work();
            }
        });
        frameSoon();
        return;
    }
    whenFaded = std::move(whenDone);
    sinceFadeBegan.start();
    fade.start();
    frameSoon();
}

void X11OverlayPanel::frameSoon()
{
    // In another turn of the loop: by then everything that belongs to a change has changed.
    if (!visible || nextFrame.isActive()) {
        return;
    }
    const auto passed = sinceLastFrame.isValid() ? sinceLastFrame.nsecsElapsed() : frameNs;
    const auto wait = std::max<std::int64_t>(frameNs - passed, 0);
    nextFrame.start(std::chrono::ceil<std::chrono::milliseconds>(std::chrono::nanoseconds(wait)));
}

void X11OverlayPanel::showFrame()
{
    if (!visible || !draw || place.width <= 0 || place.height <= 0) {
        return;
    }
    sinceLastFrame.start();
    // A frame is seen until the next one: what appears is there with the first.
    window->show(draw({place.width, place.height}, scale), alphaAfter(frameNs / 1'000'000), place.x,
                 place.y);
}

} // namespace vorlin
