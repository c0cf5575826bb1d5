#pragma once

#include "Platform/Linux/Overlay/OverlayWindow.h"
#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <QImage>
#include <QPoint>
#include <QRect>

#include <functional>
#include <memory>
#include <vector>

struct wl_buffer;
struct wl_compositor;
struct wl_output;
struct wl_shm;
struct wl_surface;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;
struct zxdg_output_manager_v1;

namespace vorlin {

/// A surface of the compositor's top layer (wlr-layer-shell), for a Wayland session in which a
/// window of XWayland's would take the clicks. It stands on the output under its top left corner;
/// XWayland counts places as the compositor's layout does. Main thread.
class LayerOverlayWindow final : public OverlayWindow {
public:
    /// Whether the compositor offers what this needs.
    static bool isOffered(const WaylandConnection& connection);

    /// `connection` must outlive it. `showAgain` is called when the picture must be shown again.
    LayerOverlayWindow(WaylandConnection& connection, std::function<void()> showAgain);
    ~LayerOverlayWindow() override;

    void show(const QImage& picture, double alpha, int x, int y) override;
    void hide() override;
    /// Nothing is above that layer.
    void raise() override {}

private:
    class Buffer;
    struct Outputs;

    void createSurface(wl_output* output);
    void configure(std::uint32_t serial);
    void arrange(const QPoint& place, const QSize& size);
    void paint();
    Buffer* freeBuffer(const QSize& size);

    WaylandConnection& connection;
    const std::function<void()> showAgain;
    wl_compositor* compositor = nullptr;
    wl_shm* memory = nullptr;
    zwlr_layer_shell_v1* shell = nullptr;
    std::unique_ptr<Outputs> outputs;
    wl_surface* surface = nullptr;
    zwlr_layer_surface_v1* layer = nullptr;
    /// The output that the surface is on.
    wl_output* output = nullptr;
    QPoint place;
    QSize size;
    /// The compositor has not answered yet to what the surface is to be.
    bool arranging = false;
    QImage wanted;
    QImage shown;
    std::vector<std::unique_ptr<Buffer>> buffers;
};

} // namespace vorlin
