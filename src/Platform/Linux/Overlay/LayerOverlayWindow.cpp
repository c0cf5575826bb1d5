#include "Platform/Linux/Overlay/LayerOverlayWindow.h"

#include "Platform/Linux/Overlay/PanelPicture.h"
#include "Platform/Shared/Descriptor.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>
#include <xdg-output-unstable-v1.h>

#define namespace nameSpace // what the protocol, written for C, calls an argument
#include <wlr-layer-shell-unstable-v1.h>
#undef namespace

namespace vorlin {

namespace {

/// Where a new output is must be known before something is placed on it.
constexpr std::chrono::milliseconds outputPatience{100};
/// One is shown, one is on its way, one is painted.
constexpr std::size_t mostBuffers = 3;
constexpr std::int32_t noRoomOfItsOwn = -1;

} // namespace

/// Pixels that the compositor reads.
class LayerOverlayWindow::Buffer {
public:
    Buffer(wl_shm* memory, const QSize& size, std::function<void()> released)
        : size(size), released(std::move(released)),
          bytes(static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()) *
                4)
    {
        const Descriptor file(memfd_create("overlay", MFD_CLOEXEC));
        if (!file || ftruncate(file.number(), static_cast<off_t>(bytes)) != 0) {
            return;
        }
        void* const mapped =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.number(), 0);
        if (mapped == MAP_FAILED) {
            return;
        }
        pixels = mapped;
        wl_shm_pool* const pool =
            wl_shm_create_pool(memory, file.number(), static_cast<std::int32_t>(bytes));
        buffer = wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), size.width() * 4,
                                           WL_SHM_FORMAT_ARGB8888);
        wl_shm_pool_destroy(pool);
        static constexpr wl_buffer_listener listener = {
            .release = [](void* data, wl_buffer* /*buffer*/) {
                auto& self = *static_cast<Buffer*>(data);
                self.busy = false;
                const auto tell = self.released; // it may forget this buffer
                tell();
            }};
        wl_buffer_add_listener(buffer, &listener, this);
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer()
    {
        if (buffer != nullptr) {
            wl_buffer_destroy(buffer);
        }
        if (pixels != nullptr) {
            munmap(pixels, bytes);
        }
    }

    bool isUsable() const { return buffer != nullptr; }

    /// `picture` is of this size, four bytes a pixel.
    void fill(const QImage& picture) { std::memcpy(pixels, picture.constBits(), bytes); }

    const QSize size;
    wl_buffer* buffer = nullptr;
    bool busy = false;

private:
    const std::function<void()> released;
    const std::size_t bytes;
    void* pixels = nullptr;
};

/// The outputs and where they are.
struct LayerOverlayWindow::Outputs {
    struct Output {
        std::uint32_t name = 0;
        wl_output* output = nullptr;
        zxdg_output_v1* details = nullptr;
        QRect area;

        Output(std::uint32_t name, wl_output* output, zxdg_output_manager_v1* manager)
            : name(name), output(output),
              details(zxdg_output_manager_v1_get_xdg_output(manager, output))
        {
            static constexpr zxdg_output_v1_listener listener = {
                .logical_position =
                    [](void* data, zxdg_output_v1* /*output*/, std::int32_t x, std::int32_t y) {
                        static_cast<Output*>(data)->area.moveTo(x, y);
                    },
                .logical_size =
                    [](void* data, zxdg_output_v1* /*output*/, std::int32_t width,
                       std::int32_t height) {
                        static_cast<Output*>(data)->area.setSize({width, height});
                    },
                .done = [](void* /*data*/, zxdg_output_v1* /*output*/) {},
                .name = [](void* /*data*/, zxdg_output_v1* /*output*/, const char* /*name*/) {},
                .description = [](void* /*data*/, zxdg_output_v1* /*output*/,
                                  const char* /*description*/) {}};
            zxdg_output_v1_add_listener(details, &listener, this);
        }
        Output(const Output&) = delete;
        Output& operator=(const Output&) = delete;
        ~Output()
        {
            zxdg_output_v1_destroy(details);
            wl_output_destroy(output);
        }
    };

    explicit Outputs(WaylandConnection& connection)
        : connection(connection),
          manager(connection.bind<zxdg_output_manager_v1>(zxdg_output_manager_v1_interface, 1))
    {
    }
    Outputs(const Outputs&) = delete;
    Outputs& operator=(const Outputs&) = delete;
    ~Outputs()
    {
        known.clear();
        if (manager != nullptr) {
            zxdg_output_manager_v1_destroy(manager);
        }
    }

    /// Learns of those that came and went.
    void refresh()
    {
        const auto names = connection.namesOf(wl_output_interface.name);
        std::erase_if(known, [&names](const auto& each) {
            return std::ranges::find(names, each->name) == names.end();
        });
        bool found = false;
        for (const std::uint32_t name : names) {
            if (std::ranges::find(known, name, [](const auto& each) { return each->name; }) ==
                known.end()) {
                auto* const output = connection.bindNamed<wl_output>(name, wl_output_interface, 1);
                known.push_back(std::make_unique<Output>(name, output, manager));
                found = true;
            }
        }
        if (found) {
            connection.sync(outputPatience);
        }
    }

    /// The one at a place of the layout; null where there is none.
    const Output* at(const QPoint& place) const
    {
        const auto found = std::ranges::find_if(
            known, [&place](const auto& each) { return each->area.contains(place); });
        return found != known.end() ? found->get() : known.empty() ? nullptr : known[0].get();
    }

    WaylandConnection& connection;
    zxdg_output_manager_v1* const manager;
    std::vector<std::unique_ptr<Output>> known;
};

bool LayerOverlayWindow::isOffered(const WaylandConnection& connection)
{
    return connection.offered(zwlr_layer_shell_v1_interface.name) > 0 &&
           connection.offered(zxdg_output_manager_v1_interface.name) > 0;
}

LayerOverlayWindow::LayerOverlayWindow(WaylandConnection& connection,
                                       std::function<void()> showAgain)
    : connection(connection), showAgain(std::move(showAgain)),
      compositor(connection.bind<wl_compositor>(wl_compositor_interface, 4)),
      memory(connection.bind<wl_shm>(wl_shm_interface, 1)),
      shell(connection.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 1)),
      outputs(std::make_unique<Outputs>(connection))
{
    outputs->refresh();
}

LayerOverlayWindow::~LayerOverlayWindow()
{
    hide();
    buffers.clear();
    outputs.reset();
    for (void* const global :
         {static_cast<void*>(compositor), static_cast<void*>(memory), static_cast<void*>(shell)}) {
        if (global != nullptr) {
            wl_proxy_destroy(static_cast<wl_proxy*>(global));
        }
    }
    connection.flush();
}

void LayerOverlayWindow::show(const QImage& picture, double alpha, int x, int y)
{
    if (!connection.alive().get() || shell == nullptr || compositor == nullptr ||
        memory == nullptr || picture.isNull()) {
        return;
    }
    wanted = faded(picture, alpha).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (surface == nullptr) {
        outputs->refresh();
    }
    const auto* const target = outputs->at({x, y});
    if (target == nullptr) {
        return;
    }
    if (surface == nullptr || target->output != output) {
        hide();
        createSurface(target->output);
    }
    arrange(QPoint(x, y) - target->area.topLeft(), wanted.size());
    paint();
}

void LayerOverlayWindow::createSurface(wl_output* on)
{
    static constexpr zwlr_layer_surface_v1_listener listener = {
        .configure =
            [](void* data, zwlr_layer_surface_v1* /*layer*/, std::uint32_t serial,
               std::uint32_t /*width*/, std::uint32_t /*height*/) {
                static_cast<LayerOverlayWindow*>(data)->configure(serial);
            },
        .closed =
            [](void* data, zwlr_layer_surface_v1* /*layer*/) {
                auto& self = *static_cast<LayerOverlayWindow*>(data);
                self.hide();
                self.showAgain();
            }};
    output = on;
    surface = wl_compositor_create_surface(compositor);
    // Clicks fall through to what is below.
    wl_region* const nothing = wl_compositor_create_region(compositor);
    wl_surface_set_input_region(surface, nothing);
    wl_region_destroy(nothing);
    layer = zwlr_layer_shell_v1_get_layer_surface(
        shell, surface, output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "vorlin-overlay");
    zwlr_layer_surface_v1_add_listener(layer, &listener, this);
    zwlr_layer_surface_v1_set_anchor(layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP |
                                                ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
    zwlr_layer_surface_v1_set_exclusive_zone(layer, noRoomOfItsOwn);
    zwlr_layer_surface_v1_set_keyboard_interactivity(layer, 0);
}

void LayerOverlayWindow::arrange(const QPoint& nextPlace, const QSize& nextSize)
{
    if (nextPlace == place && nextSize == size) {
        return;
    }
    place = nextPlace;
    size = nextSize;
    zwlr_layer_surface_v1_set_margin(layer, place.y(), 0, 0, place.x());
    zwlr_layer_surface_v1_set_size(layer, static_cast<std::uint32_t>(size.width()),
                                   static_cast<std::uint32_t>(size.height()));
    if (shown.size() != size) {
        arranging = true;
    }
    wl_surface_commit(surface);
    connection.flush();
}

void LayerOverlayWindow::configure(std::uint32_t serial)
{
    zwlr_layer_surface_v1_ack_configure(layer, serial);
    arranging = false;
    paint();
}

void LayerOverlayWindow::paint()
{
    if (surface == nullptr || arranging || wanted.isNull() || wanted == shown) {
        return;
    }
    Buffer* const buffer = freeBuffer(wanted.size());
    if (buffer == nullptr) {
        return; // painted when one is released
    }
    buffer->fill(wanted);
    buffer->busy = true;
    const auto changed = shown.size() == wanted.size()
                             ? difference(wanted, shown)
                             : PixelArea{0, 0, wanted.width(), wanted.height()};
    wl_surface_attach(surface, buffer->buffer, 0, 0);
    wl_surface_damage(surface, changed.x, changed.y, changed.width, changed.height);
    wl_surface_commit(surface);
    shown = wanted;
    connection.flush();
}

LayerOverlayWindow::Buffer* LayerOverlayWindow::freeBuffer(const QSize& of)
{
    std::erase_if(buffers, [&of](const auto& each) { return !each->busy && each->size != of; });
    const auto found = std::ranges::find_if(buffers, [](const auto& each) { return !each->busy; });
    if (found != buffers.end()) {
        return found->get();
    }
    if (buffers.size() >= mostBuffers) {
        return nullptr;
    }
    auto made = std::make_unique<Buffer>(memory, of, [this] { paint(); });
    return made->isUsable() ? buffers.emplace_back(std::move(made)).get() : nullptr;
}

void LayerOverlayWindow::hide()
{
    if (surface == nullptr) {
        return;
    }
    zwlr_layer_surface_v1_destroy(std::exchange(layer, nullptr));
    wl_surface_destroy(std::exchange(surface, nullptr));
    output = nullptr;
    place = {};
    size = {};
    shown = {};
    connection.flush();
}

} // namespace vorlin
