#include "Platform/Linux/Overlay/X11OverlayWindow.h"

#include "Platform/Linux/Overlay/PanelPicture.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <unistd.h>
#include <xcb/shape.h>
#include <xcb/xfixes.h>

namespace vorlin {

namespace {

constexpr std::uint8_t alphaDepth = 32;
/// Pictures are sent in pieces of at most this many bytes, well below what any server takes.
constexpr std::size_t longestPiece = 128U * 1024U;
constexpr std::string_view compositorSelection = "_NET_WM_CM_S0";
/// What window managers change when they have put a window above others.
constexpr std::array stackingProperties = {"_NET_CLIENT_LIST_STACKING", "_NET_ACTIVE_WINDOW"};

} // namespace

X11OverlayWindow::X11OverlayWindow(std::function<void()> onCompositorChanged)
    : onCompositorChanged(std::move(onCompositorChanged)),
      server({.readable = [this] { readEvents(); }, .lost = [] {}}), atoms(server)
{
    if (server.isAlive()) {
        create();
        describe();
        watchCompositor();
        server.flush();
    }
}

X11OverlayWindow::~X11OverlayWindow() = default; // the window goes with its connection

X11OverlayWindow::Format X11OverlayWindow::format() const
{
    const auto& setup = *xcb_get_setup(server.get());
    for (auto screen = xcb_setup_roots_iterator(&setup); screen.rem > 0; xcb_screen_next(&screen)) {
        if (screen.data->root != server.root()) {
            continue;
        }
        auto depths = xcb_screen_allowed_depths_iterator(screen.data);
        for (; depths.rem > 0; xcb_depth_next(&depths)) {
            auto visuals = xcb_depth_visuals_iterator(depths.data);
            for (; depths.data->depth == alphaDepth && visuals.rem > 0;
                 xcb_visualtype_next(&visuals)) {
                if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR &&
                    visuals.data->red_mask == 0xff0000U && visuals.data->blue_mask == 0xffU) {
                    return {alphaDepth, visuals.data->visual_id};
                }
            }
        }
        return {screen.data->root_depth, screen.data->root_visual};
    }
    return {};
}

void X11OverlayWindow::create()
{
    auto* const connection = server.get();
    const auto [windowDepth, visual] = format();
    if (windowDepth != alphaDepth && windowDepth != 24) {
        return; // fewer colours than pictures have
    }
    depth = windowDepth;
    const auto colormap = xcb_generate_id(connection);
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colormap, server.root(), visual);
    window = xcb_generate_id(connection);
    // In the order of the mask's bits: the server would fill what a move or a resize uncovers
    // with the background, so that is always the picture itself.
    const std::array<std::uint32_t, 6> values = {0, XCB_GRAVITY_BIT_FORGET,  1,
                                                 0, XCB_EVENT_MASK_EXPOSURE, colormap};
    xcb_create_window(connection, depth, window, server.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY | XCB_CW_OVERRIDE_REDIRECT |
                          XCB_CW_SAVE_UNDER | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      values.data());
    context = xcb_generate_id(connection);
    const std::uint32_t withoutExposures = 0;
    xcb_create_gc(connection, context, window, XCB_GC_GRAPHICS_EXPOSURES, &withoutExposures);
    if (server.extension(xcb_shape_id)) {
        // Clicks fall through to what is below.
        xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
    }
}

void X11OverlayWindow::describe()
{
    if (window == XCB_NONE) {
        return;
    }
    auto* const connection = server.get();
    const auto setText = [&](xcb_atom_t name, xcb_atom_t type, std::string_view text) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, name, type, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
    };
    const auto setNumbers = [&](xcb_atom_t name, xcb_atom_t type, auto... numbers) {
        const std::array values = {static_cast<std::uint32_t>(numbers)...};
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, name, type, 32,
                            values.size(), values.data());
    };
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string_view("vorlin-overlay\0Vorlin\0", 22));
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Vorlin");
    setText(atoms["_NET_WM_NAME"], atoms["UTF8_STRING"], "Vorlin");
    setNumbers(atoms["_NET_WM_WINDOW_TYPE"], XCB_ATOM_ATOM,
               atoms["_KDE_NET_WM_WINDOW_TYPE_ON_SCREEN_DISPLAY"],
               atoms["_NET_WM_WINDOW_TYPE_NOTIFICATION"]);
    setNumbers(atoms["_NET_WM_STATE"], XCB_ATOM_ATOM, atoms["_NET_WM_STATE_ABOVE"],
               atoms["_NET_WM_STATE_STICKY"], atoms["_NET_WM_STATE_SKIP_TASKBAR"],
               atoms["_NET_WM_STATE_SKIP_PAGER"]);
    setNumbers(atoms["_NET_WM_DESKTOP"], XCB_ATOM_CARDINAL, 0xffffffffU);
    setNumbers(atoms["_NET_WM_PID"], XCB_ATOM_CARDINAL, ::getpid());
    // The picture has its own shadow.
    setNumbers(atoms["_COMPTON_SHADOW"], XCB_ATOM_CARDINAL, 0);
    constexpr std::uint32_t inputHint = 1;
    setNumbers(XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, inputHint, 0, 0, 0, 0, 0, 0, 0, 0);
}

void X11OverlayWindow::watchCompositor()
{
    if (const auto extension = server.extension(xcb_xfixes_id)) {
        firstFixesEvent = extension->first_event;
        server.reply<xcb_xfixes_query_version_reply_t>(
            xcb_xfixes_query_version(server.get(), 2, 0));
        xcb_xfixes_select_selection_input(
            server.get(), server.root(), atoms[compositorSelection],
            XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    }
    composited = compositorRuns();
}

bool X11OverlayWindow::compositorRuns()
{
    const auto owner = server.reply<xcb_get_selection_owner_reply_t>(
        xcb_get_selection_owner(server.get(), atoms[compositorSelection]));
    return depth == alphaDepth && owner && owner->owner != XCB_NONE;
}

void X11OverlayWindow::readEvents()
{
    while (const auto event = server.nextEvent()) {
        handle(*event);
    }
    server.flush();
}

void X11OverlayWindow::handle(const xcb_generic_event_t& event)
{
    const auto type = event.response_type & 0x7FU;
    if (type == XCB_EXPOSE) {
        const auto& area = reinterpret_cast<const xcb_expose_event_t&>(event);
        xcb_copy_area(server.get(), pixmap, window, context, static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), area.width, area.height);
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto changed = reinterpret_cast<const xcb_property_notify_event_t&>(event).atom;
        if (mapped && std::ranges::any_of(stackingProperties, [&](const char* name) {
                return atoms[name] == changed;
            })) {
            raise();
        }
    } else if (firstFixesEvent != 0 && type == firstFixesEvent) {
        const bool runs = compositorRuns();
        if (std::exchange(composited, runs) != runs) {
            shown = {};
            onCompositorChanged();
        }
    }
}

void X11OverlayWindow::watchStacking(bool on)
{
    const std::uint32_t mask = on ? XCB_EVENT_MASK_PROPERTY_CHANGE : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(server.get(), server.root(), XCB_CW_EVENT_MASK, &mask);
}

void X11OverlayWindow::replacePixmap(const QSize& size)
{
    auto* const connection = server.get();
    if (pixmap != XCB_NONE) {
        xcb_free_pixmap(connection, pixmap);
    }
    pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, depth, pixmap, window, static_cast<std::uint16_t>(size.width()),
                      static_cast<std::uint16_t>(size.height()));
}

void X11OverlayWindow::paint(const QImage& picture, const PixelArea& area)
{
    const auto bytesPerRow = static_cast<std::size_t>(area.width) * 4;
    const int rowsAtOnce = std::max(static_cast<int>(longestPiece / bytesPerRow), 1);
    for (int row = area.y; row < area.bottom(); row += rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, area.bottom() - row);
        const auto piece = picture.copy(area.x, row, area.width, rows);
        xcb_put_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context,
                      static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(rows),
                      static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(row), 0, depth,
                      static_cast<std::uint32_t>(piece.sizeInBytes()), piece.constBits());
    }
}

void X11OverlayWindow::setShape(const QImage& picture)
{
    if (!server.extension(xcb_shape_id)) {
        return;
    }
    if (composited) {
        if (std::exchange(shaped, false)) {
            xcb_shape_mask(server.get(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window, 0, 0,
                           XCB_NONE);
        }
        return;
    }
    std::vector<xcb_rectangle_t> rectangles;
    for (const auto& area : shapeOf(picture)) {
        rectangles.push_back({static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                              static_cast<std::uint16_t>(area.width),
                              static_cast<std::uint16_t>(area.height)});
    }
    shaped = true;
    xcb_shape_rectangles(server.get(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                         XCB_CLIP_ORDERING_YX_SORTED, window, 0, 0,
                         static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

void X11OverlayWindow::show(const QImage& picture, double alpha, int newX, int newY)
{
    if (!server.isAlive() || window == XCB_NONE || picture.isNull()) {
        return;
    }
    auto* const connection = server.get();
    const auto next = composited ? faded(picture, alpha) : opaque(picture);
    const bool resized = next.size() != shown.size();
    const auto changed =
        resized ? PixelArea{0, 0, next.width(), next.height()} : difference(next, shown);
    if (resized) {
        replacePixmap(next.size());
    }
    if (!changed.isEmpty()) {
        paint(next, changed);
        xcb_change_window_attributes(connection, window, XCB_CW_BACK_PIXMAP, &pixmap);
        setShape(picture);
    }
    if (resized || newX != x || newY != y) {
        const std::array<std::uint32_t, 4> frame = {
            static_cast<std::uint32_t>(newX), static_cast<std::uint32_t>(newY),
            static_cast<std::uint32_t>(next.width()), static_cast<std::uint32_t>(next.height())};
        xcb_configure_window(connection, window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             frame.data());
        x = newX;
        y = newY;
    }
    if (!mapped) {
        mapped = true;
        watchStacking(true);
        raise();
        xcb_map_window(connection, window);
    }
    if (!changed.isEmpty()) {
        const auto at = [](int value) { return static_cast<std::int16_t>(value); };
        const auto length = [](int value) { return static_cast<std::uint16_t>(value); };
        xcb_copy_area(connection, pixmap, window, context, at(changed.x), at(changed.y),
                      at(changed.x), at(changed.y), length(changed.width), length(changed.height));
    }
    shown = next;
    server.flush();
}

void X11OverlayWindow::raise()
{
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(server.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
}

void X11OverlayWindow::hide()
{
    if (std::exchange(mapped, false)) {
        watchStacking(false);
        xcb_unmap_window(server.get(), window);
        server.flush();
    }
}

} // namespace vorlin
