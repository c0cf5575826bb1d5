#pragma once

#include "Async/MainLoop.h"
#include "Ports/OverlayPanel.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace vorlin {

/// What the overlay's panel shows.
struct OverlayPicture {
    /// Premultiplied, four bytes a pixel: blue, green, red, alpha. Read within the call.
    const std::uint8_t* pixels = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    /// Where the system's glass lies under the picture, in points of the panel.
    Rect glass;
    double cornerRadius = 0;
};

/// The overlay's panel: never active, never key, deaf to the pointer, on every space and above
/// full-screen windows. It shows a picture over the system's glass. Main thread.
class MacOverlayPanel final : public OverlayPanel {
public:
    /// The picture of the panel's content, `width` × `height` points large, at `scale` pixels to a
    /// point.
    using Draw = std::function<OverlayPicture(double width, double height, double scale)>;

    /// `loop` must outlive this object.
    explicit MacOverlayPanel(MainLoop& loop);
    MacOverlayPanel(const MacOverlayPanel&) = delete;
    MacOverlayPanel& operator=(const MacOverlayPanel&) = delete;
    ~MacOverlayPanel() override;

    /// Until there is one, nothing is shown.
    void setContent(Draw draw);
    /// The content has something new to show.
    void contentChanged();

    bool isVisible() const override;
    double alpha() const override;
    void setFrame(const Rect& frame) override;
    void order(Order order) override;
    void animateAlpha(double to, Duration duration, Work whenDone) override;

private:
    struct Panel;
    void showPicture();

    MainLoop& loop;
    std::unique_ptr<Panel> panel;
    Draw draw;
    /// Until what has changed is drawn.
    Timer nextFrame;
    /// Until the end of a change of the alpha that took no time is told.
    Timer done;
};

} // namespace vorlin
