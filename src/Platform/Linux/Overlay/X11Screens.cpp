#include "Platform/Linux/Overlay/X11Screens.h"

#include <QMetaObject>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>

#include <xcb/randr.h>

namespace vorlin {

namespace {

constexpr double usualDpi = 96;
/// A dictation starts meanwhile: where the server is kept busy, the main screen has to do.
constexpr std::chrono::milliseconds pointerLimit{50};
/// Properties of the root window that tell of panels, workspaces and the scale.
constexpr std::array watchedProperties = {"_NET_WORKAREA", "_NET_CLIENT_LIST",
                                          "_NET_CURRENT_DESKTOP", "RESOURCE_MANAGER"};
constexpr std::array strutProperties = {"_NET_WM_STRUT_PARTIAL", "_NET_WM_STRUT"};
/// Longer than any list that is read here, in units of four bytes.
constexpr std::uint32_t longestProperty = 1U << 16U;

/// The number behind "Xft.dpi:" in the display's resources.
std::optional<double> dpiIn(std::string_view resources)
{
    constexpr std::string_view key = "Xft.dpi:";
    while (!resources.empty()) {
        const auto end = std::min(resources.find('\n'), resources.size());
        auto line = resources.substr(0, end);
        resources.remove_prefix(std::min(end + 1, resources.size()));
        if (!line.starts_with(key)) {
            continue;
        }
        line.remove_prefix(key.size());
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        double dpi = 0;
        const auto read = std::from_chars(line.data(), line.data() + line.size(), dpi);
        if (read.ec == std::errc() && dpi > 0) {
            return dpi;
        }
    }
    return std::nullopt;
}

double factorIn(const Environment& environment)
{
    const auto text = environment("QT_SCALE_FACTOR").value_or("");
    double factor = 0;
    std::from_chars(text.data(), text.data() + text.size(), factor);
    return factor > 0 && std::isfinite(factor) ? factor : 1;
}

void appendStruts(std::vector<Strut>& struts, std::span<const std::uint32_t> values)
{
    if (values.size() != 4 && values.size() != 12) {
        return;
    }
    using Edge = Strut::Edge;
    constexpr std::array edges = {Edge::left, Edge::right, Edge::top, Edge::bottom};
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (values[i] == 0) {
            continue;
        }
        Strut strut{.edge = edges[i], .thickness = values[i]};
        if (values.size() == 12) {
            strut.first = values[4 + 2 * i];
            strut.last = values[5 + 2 * i];
        }
        struts.push_back(strut);
    }
}

} // namespace

X11Screens::X11Screens(const Environment& environment)
    : factor(factorIn(environment)), server({.readable = [this] { readEvents(); }, .lost = [] {}}),
      atoms(server)
{
    if (!server.isAlive()) {
        return;
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(server.get(), server.root(), XCB_CW_EVENT_MASK, &mask);
    if (const auto extension = server.extension(xcb_randr_id)) {
        firstRandrEvent = extension->first_event;
        const auto version = server.reply<xcb_randr_query_version_reply_t>(
            xcb_randr_query_version(server.get(), 1, 5));
        randr = version && (version->major_version > 1 || version->minor_version >= 5);
        xcb_randr_select_input(server.get(), server.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    }
    for (const auto* name : watchedProperties) {
        atoms[name];
    }
    refresh();
}

X11Screens::~X11Screens() = default;

Subscription X11Screens::observe(std::function<void()> observer)
{
    return changes.observe([observer = std::move(observer)](const auto&) { observer(); });
}

std::optional<Point> X11Screens::pointer() const
{
    if (!server.isAlive()) {
        return std::nullopt;
    }
    const auto reply = server.reply<xcb_query_pointer_reply_t>(
        xcb_query_pointer(server.get(), server.root()), pointerLimit);
    if (!reply || reply->same_screen == 0) {
        return std::nullopt;
    }
    return Point{reply->root_x / scale, -reply->root_y / scale};
}

void X11Screens::readEvents()
{
    bool changed = false;
    while (const auto event = server.nextEvent()) {
        changed = concernsScreens(*event) || changed;
    }
    if (changed) {
        refreshSoon();
    }
}

bool X11Screens::concernsScreens(const xcb_generic_event_t& event)
{
    const auto type = event.response_type & 0x7FU;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto& notify = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        const auto isOneOf = [&](const auto& names) {
            return std::ranges::any_of(
                names, [&](const char* name) { return atoms[name] == notify.atom; });
        };
        return notify.window == server.root() ? isOneOf(watchedProperties)
                                              : isOneOf(strutProperties);
    }
    if (type == XCB_CONFIGURE_NOTIFY) {
        const auto& notify = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        return notify.window == server.root();
    }
    return firstRandrEvent != 0 && (type == firstRandrEvent || type == firstRandrEvent + 1U);
}

void X11Screens::refreshSoon()
{
    // Changes come in groups: the display's size, then its monitors, then the work area.
    if (!std::exchange(refreshing, true)) {
        QMetaObject::invokeMethod(
            &context,
            [this] {
                refreshing = false;
                refresh();
            },
            Qt::QueuedConnection);
    }
}

void X11Screens::refresh()
{
    if (!server.isAlive()) {
        return;
    }
    const auto geometry =
        server.reply<xcb_get_geometry_reply_t>(xcb_get_geometry(server.get(), server.root()));
    if (!geometry) {
        return;
    }
    root = {0, 0, geometry->width, geometry->height};
    scale = desktopScale();
    const auto all = monitors();
    const auto reserved = struts();
    const auto areas = workAreas(all.size());
    screens.clear();
    for (const auto& monitor : all) {
        auto visible = visibleArea(monitor.area, root, reserved);
        for (const auto& area : areas) {
            // Of many monitors, the one that the area is inside of.
            const auto both = visible.intersected(area);
            const bool meant = all.size() == 1 || monitor.area.intersected(area) == area;
            visible = meant && !both.isEmpty() ? both : visible;
        }
        screens.push_back(inPoints(monitor, visible));
    }
    changes.set({screens, scale});
}

Screen X11Screens::inPoints(const Monitor& monitor, const PixelArea& visible) const
{
    const auto points = [this](const PixelArea& area) {
        return Rect{area.x / scale, -area.bottom() / scale, area.width / scale,
                    area.height / scale};
    };
    return {monitor.name, points(monitor.area), points(visible), monitor.primary};
}

std::vector<X11Screens::Monitor> X11Screens::monitors()
{
    std::vector<Monitor> result;
    const auto reply = randr ? server.reply<xcb_randr_get_monitors_reply_t>(
                                   xcb_randr_get_monitors(server.get(), server.root(), 1))
                             : nullptr;
    if (reply) {
        auto each = xcb_randr_get_monitors_monitors_iterator(reply.get());
        for (; each.rem > 0; xcb_randr_monitor_info_next(&each)) {
            const auto& info = *each.data;
            const auto name =
                server.reply<xcb_get_atom_name_reply_t>(xcb_get_atom_name(server.get(), info.name));
            if (name && info.width > 0 && info.height > 0) {
                result.push_back(
                    {{xcb_get_atom_name_name(name.get()),
                      static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get()))},
                     {info.x, info.y, info.width, info.height},
                     info.primary != 0});
            }
        }
    }
    if (result.empty() && !root.isEmpty()) {
        result.push_back({"screen", root, true});
    }
    return result;
}

template <class T>
std::vector<T> X11Screens::property(xcb_window_t window, const char* name, xcb_atom_t type)
{
    const auto reply = server.reply<xcb_get_property_reply_t>(
        xcb_get_property(server.get(), 0, window, atoms[name], type, 0, longestProperty));
    if (!reply || reply->format != 8 * sizeof(T)) {
        return {};
    }
    const auto* values = static_cast<const T*>(xcb_get_property_value(reply.get()));
    return {values, values + xcb_get_property_value_length(reply.get()) / int{sizeof(T)}};
}

std::vector<Strut> X11Screens::struts()
{
    const auto clients =
        property<std::uint32_t>(server.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW);
    std::vector<xcb_get_property_cookie_t> requests;
    for (const auto client : clients) {
        for (const auto* name : strutProperties) {
            requests.push_back(
                xcb_get_property(server.get(), 0, client, atoms[name], XCB_ATOM_CARDINAL, 0, 12));
        }
        if (watched.insert(client).second) {
            const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
            xcb_change_window_attributes(server.get(), client, XCB_CW_EVENT_MASK, &mask);
        }
    }
    std::erase_if(watched, [&](xcb_window_t window) {
        return std::ranges::find(clients, window) == clients.end();
    });
    std::vector<Strut> result;
    for (std::size_t i = 0; i + 1 < requests.size(); i += 2) {
        const auto partial = server.reply<xcb_get_property_reply_t>(requests[i]);
        const auto whole = server.reply<xcb_get_property_reply_t>(requests[i + 1]);
        const auto& best = partial && partial->format == 32 ? partial : whole;
        if (best && best->format == 32) {
            const auto* values =
                static_cast<const std::uint32_t*>(xcb_get_property_value(best.get()));
            appendStruts(result, {values, static_cast<std::size_t>(
                                              xcb_get_property_value_length(best.get()) / 4)});
        }
    }
    return result;
}

std::vector<PixelArea> X11Screens::workAreas(std::size_t monitorCount)
{
    // Some desktops' panels are no windows, and show only here. The standard's one rectangle for
    // all monitors together says nothing about each: it counts only where there is one monitor.
    const auto current =
        property<std::uint32_t>(server.root(), "_NET_CURRENT_DESKTOP", XCB_ATOM_CARDINAL);
    const std::size_t desktop = current.empty() ? 0 : current.front();
    const auto areas = [](const std::vector<std::uint32_t>& numbers) {
        std::vector<PixelArea> result;
        for (std::size_t i = 0; i + 3 < numbers.size(); i += 4) {
            const auto at = [&](std::size_t k) { return static_cast<int>(numbers[i + k]); };
            result.push_back({at(0), at(1), at(2), at(3)});
        }
        return result;
    };
    const auto name = "_GTK_WORKAREAS_D" + std::to_string(desktop);
    auto each = areas(property<std::uint32_t>(server.root(), name.c_str(), XCB_ATOM_CARDINAL));
    if (!each.empty() || monitorCount > 1) {
        return each;
    }
    const auto all =
        areas(property<std::uint32_t>(server.root(), "_NET_WORKAREA", XCB_ATOM_CARDINAL));
    return desktop < all.size() ? std::vector{all[desktop]} : std::vector<PixelArea>{};
}

double X11Screens::desktopScale()
{
    const auto text = property<char>(server.root(), "RESOURCE_MANAGER", XCB_ATOM_STRING);
    const double dpi = dpiIn({text.data(), text.size()}).value_or(usualDpi);
    return std::clamp(dpi / usualDpi * factor, 0.5, 8.0);
}

} // namespace vorlin
