#include "Platform/Linux/Tray/X11TrayIcon.h"

#include "Platform/Linux/Tray/TraySymbol.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vorlin {

namespace {

constexpr std::uint32_t requestDock = 0;
constexpr std::uint32_t isMapped = 1;
/// What a panel gets that asks for no other size.
constexpr std::uint16_t usualSize = 24;
constexpr int largest = 256;

/// The depth of a visual; nothing for an unknown one, and for depths that take other pixels.
std::optional<std::uint8_t> depthOf(const xcb_screen_t& screen, xcb_visualid_t visual)
{
    for (auto each = xcb_screen_allowed_depths_iterator(&screen); each.rem > 0;
         xcb_depth_next(&each)) {
        const auto* visuals = xcb_depth_visuals(each.data);
        const auto count = xcb_depth_visuals_length(each.data);
        for (int i = 0; i < count; ++i) {
            if (visuals[i].visual_id == visual &&
                (each.data->depth == 24 || each.data->depth == 32) &&
                visuals[i].red_mask == 0xFF0000 && visuals[i].blue_mask == 0xFF) {
                return each.data->depth;
            }
        }
    }
    return std::nullopt;
}

} // namespace

X11TrayIcon::X11TrayIcon(Callbacks callbacks)
    : callbacks(std::move(callbacks)), server({.readable = [this] { read(); },
                                               .lost =
                                                   [this] {
                                                       window = XCB_NONE;
                                                       noteDocked(false);
                                                   }}),
      atoms(server)
{
    if (!server.isAlive()) {
        return;
    }
    int number = 0;
    auto each = xcb_setup_roots_iterator(xcb_get_setup(server.get()));
    while (each.data->root != server.root() && each.rem > 1) {
        xcb_screen_next(&each);
        ++number;
    }
    screen = each.data;
    selection = atoms["_NET_SYSTEM_TRAY_S" + std::to_string(number)];
    // A tray that comes announces itself to the root window.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(server.get(), server.root(), XCB_CW_EVENT_MASK, &events);
    server.flush();
}

void X11TrayIcon::show(StatusSymbol symbol, const std::string& title)
{
    if (screen == nullptr) {
        return;
    }
    const bool isNew = !look;
    look = Look{symbol, title};
    if (isNew) {
        findManager();
    } else if (window != XCB_NONE) {
        setTitle();
        draw();
    }
}

void X11TrayIcon::hide()
{
    look.reset();
    undock();
}

void X11TrayIcon::findManager()
{
    const auto owner = server.reply<xcb_get_selection_owner_reply_t>(
        xcb_get_selection_owner(server.get(), selection));
    manager = owner ? owner->owner : XCB_NONE;
    if (manager != XCB_NONE && window == XCB_NONE && look) {
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(server.get(), manager, XCB_CW_EVENT_MASK, &events);
        dock();
    }
}

void X11TrayIcon::dock()
{
    createWindow();
    setTitle();
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = manager;
    request.type = atoms["_NET_SYSTEM_TRAY_OPCODE"];
    request.data.data32[0] = XCB_CURRENT_TIME;
    request.data.data32[1] = requestDock;
    request.data.data32[2] = window;
    xcb_send_event(server.get(), 0, manager, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&request));
    server.flush();
}

void X11TrayIcon::createWindow()
{
    auto* const connection = server.get();
    const auto wish = server.reply<xcb_get_property_reply_t>(xcb_get_property(
        connection, 0, manager, atoms["_NET_SYSTEM_TRAY_VISUAL"], XCB_ATOM_VISUALID, 0, 1));
    xcb_visualid_t visual = screen->root_visual;
    depth = screen->root_depth;
    if (wish && xcb_get_property_value_length(wish.get()) == sizeof visual) {
        const auto wished = *static_cast<const xcb_visualid_t*>(xcb_get_property_value(wish.get()));
        if (const auto its = depthOf(*screen, wished)) {
            visual = wished;
            depth = *its;
        }
    }
    colours = xcb_generate_id(connection);
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colours, server.root(), visual);
    window = xcb_generate_id(connection);
    const std::uint32_t values[] = {0,
                                    XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE,
                                    colours};
    width = height = usualSize;
    xcb_create_window(connection, depth, window, server.root(), 0, 0, usualSize, usualSize, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      static_cast<const std::uint32_t*>(values));
    // A panel's own background shows through: by alpha, or else where its window is our parent.
    const std::uint32_t background = depth == 32 ? 0 : XCB_BACK_PIXMAP_PARENT_RELATIVE;
    xcb_change_window_attributes(connection, window,
                                 depth == 32 ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP, &background);
    graphics = xcb_generate_id(connection);
    xcb_create_gc(connection, graphics, window, 0, nullptr);
    const std::uint32_t embedding[] = {0, isMapped};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atoms["_XEMBED_INFO"],
                        atoms["_XEMBED_INFO"], 32, 2, static_cast<const void*>(embedding));
    setSizeHints();
    constexpr std::string_view name("vorlin\0Vorlin", 14);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, name.size(), name.data());
}

/// A panel gives a window that asks for no size a single pixel.
void X11TrayIcon::setSizeHints()
{
    constexpr std::uint32_t hasLeast = 1U << 4U;
    std::array<std::uint32_t, 18> hints{hasLeast};
    hints[5] = hints[6] = usualSize; // its place: after four that are obsolete
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
}

void X11TrayIcon::setTitle()
{
    const auto& title = look->title;
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, atoms["_NET_WM_NAME"],
                        atoms["UTF8_STRING"], 8, static_cast<std::uint32_t>(title.size()),
                        title.data());
    server.flush();
}

void X11TrayIcon::undock()
{
    if (window != XCB_NONE) {
        xcb_destroy_window(server.get(), window);
        xcb_free_gc(server.get(), graphics);
        xcb_free_colormap(server.get(), colours);
        server.flush();
        window = XCB_NONE;
    }
    noteDocked(false);
}

void X11TrayIcon::noteDocked(bool now)
{
    if (std::exchange(docked, now) != now) {
        callbacks.changed();
    }
}

void X11TrayIcon::read()
{
    while (const auto event = server.nextEvent()) {
        handle(*event);
    }
}

void X11TrayIcon::handle(const xcb_generic_event_t& event)
{
    switch (event.response_type & 0x7FU) {
    case XCB_CLIENT_MESSAGE: {
        const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
        if (message.type == atoms["MANAGER"] && message.data.data32[1] == selection) {
            undock();
            findManager();
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto& gone = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
        if (gone.window == manager || (window != XCB_NONE && gone.window == window)) {
            manager = XCB_NONE;
            undock(); // destroying it once more does nothing
            findManager();
        }
        break;
    }
    case XCB_REPARENT_NOTIFY:
        handleReparent(reinterpret_cast<const xcb_reparent_notify_event_t&>(event));
        break;
    case XCB_CONFIGURE_NOTIFY: {
        const auto& change = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        if (change.window == window) {
            width = std::clamp<int>(change.width, 1, largest);
            height = std::clamp<int>(change.height, 1, largest);
            draw();
        }
        break;
    }
    case XCB_EXPOSE:
    case XCB_MAP_NOTIFY: draw(); break;
    case XCB_BUTTON_RELEASE: { // a press still has the pointer, and no menu could take it
        const auto& button = reinterpret_cast<const xcb_button_release_event_t&>(event);
        if (button.detail == XCB_BUTTON_INDEX_1 || button.detail == XCB_BUTTON_INDEX_3) {
            callbacks.clicked(button.detail == XCB_BUTTON_INDEX_1 ? Click::primary : Click::menu,
                              {button.root_x, button.root_y});
        }
        break;
    }
    default: break;
    }
}

void X11TrayIcon::handleReparent(const xcb_reparent_notify_event_t& event)
{
    if (window == XCB_NONE || event.window != window) {
        return;
    }
    if (event.parent == server.root()) {
        undock(); // the panel lets go of it; it would stand on the desktop
        return;
    }
    noteDocked(true);
    draw();
}

/// Draws the symbol over what the panel has there.
void X11TrayIcon::draw()
{
    if (window == XCB_NONE || !docked || !look) {
        return;
    }
    auto* const connection = server.get();
    const auto wide = static_cast<std::uint16_t>(width);
    const auto high = static_cast<std::uint16_t>(height);
    xcb_clear_area(connection, 0, window, 0, 0, wide, high);
    QImage image(width, height,
                 depth == 32 ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    image.fill(0);
    if (depth != 32) {
        const auto below = server.reply<xcb_get_image_reply_t>(xcb_get_image(
            connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, wide, high, ~std::uint32_t{0}));
        const auto bytes = static_cast<std::size_t>(image.sizeInBytes());
        if (!below || static_cast<std::size_t>(xcb_get_image_data_length(below.get())) != bytes) {
            return; // not to be seen now: there will be another exposure
        }
        std::copy_n(xcb_get_image_data(below.get()), bytes, image.bits());
    }
    const int side = std::min(width, height);
    QPainter painter(&image);
    painter.drawImage((width - side) / 2, (height - side) / 2, traySymbol(look->symbol, side));
    painter.end();
    put(image);
}

void X11TrayIcon::put(const QImage& image)
{
    xcb_put_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, graphics,
                  static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0, 0, 0,
                  depth, static_cast<std::uint32_t>(image.sizeInBytes()), image.constBits());
    server.flush();
}

} // namespace vorlin
