#include "Platform/Linux/Pasteboard/SelectionConnection.h"

#include <algorithm>

#include <xcb/res.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

namespace vorlin {

namespace {

/// Bytes of a property asked for at once, a multiple of four: large enough to be quick, small
/// enough to look at the clock in between.
constexpr std::uint32_t readAtOnce = 1U << 20U;

/// Longest piece written at once. The server keeps it until the reader has fetched it.
constexpr std::size_t writtenAtOnce = 1U << 20U;

} // namespace

SelectionConnection::SelectionConnection(const std::string& display)
{
    int screenNumber = 0;
    connection = xcb_connect(display.empty() ? nullptr : display.c_str(), &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        return;
    }
    const xcb_setup_t* setup = xcb_get_setup(connection);
    auto screens = xcb_setup_roots_iterator(setup);
    while (screenNumber-- > 0 && screens.rem > 1) {
        xcb_screen_next(&screens);
    }
    rootWindow = screens.data->root;
    resourceMask = setup->resource_id_mask;
    xcb_prefetch_extension_data(connection, &xcb_res_id);
    fixes = startFixes();
    const auto* resources = xcb_get_extension_data(connection, &xcb_res_id);
    if (resources != nullptr && resources->present != 0) {
        const XcbPointer<xcb_res_query_version_reply_t> version(xcb_res_query_version_reply(
            connection, xcb_res_query_version(connection, 1, 2), nullptr));
        processes = version && (version->server_major > 1 || version->server_minor >= 2);
    }
    // A quarter of what the server takes at once, which it counts in units of four bytes.
    piece = std::min<std::size_t>(xcb_get_maximum_request_length(connection), writtenAtOnce);
}

SelectionConnection::~SelectionConnection()
{
    xcb_disconnect(connection);
}

bool SelectionConnection::startFixes()
{
    const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (extension == nullptr || extension->present == 0) {
        return false;
    }
    const XcbPointer<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
        connection, xcb_xfixes_query_version(connection, 5, 0), nullptr));
    fixesEvent = extension->first_event;
    return version && version->major_version >= 1;
}

bool SelectionConnection::alive() const
{
    return fixes && xcb_connection_has_error(connection) == 0;
}

xcb_atom_t SelectionConnection::atom(std::string_view name) const
{
    const std::string one(name);
    return atoms({&one, 1}).front();
}

std::vector<xcb_atom_t> SelectionConnection::atoms(std::span<const std::string> names) const
{
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const std::string& name : names) {
        cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    }
    std::vector<xcb_atom_t> atoms;
    for (const auto cookie : cookies) {
        const XcbPointer<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection, cookie, nullptr));
        atoms.push_back(reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE});
    }
    return atoms;
}

std::vector<std::string> SelectionConnection::names(std::span<const xcb_atom_t> atoms) const
{
    // A name can be 64 KiB long, so few are under way at once.
    constexpr std::size_t batch = 64;
    std::vector<std::string> names;
    while (!atoms.empty()) {
        const auto some = atoms.first(std::min(batch, atoms.size()));
        atoms = atoms.subspan(some.size());
        std::vector<xcb_get_atom_name_cookie_t> cookies;
        for (const xcb_atom_t atom : some) {
            cookies.push_back(xcb_get_atom_name(connection, atom));
        }
        for (const auto cookie : cookies) {
            const XcbPointer<xcb_get_atom_name_reply_t> reply(
                xcb_get_atom_name_reply(connection, cookie, nullptr));
            names.emplace_back();
            if (reply) {
                names.back().assign(
                    xcb_get_atom_name_name(reply.get()),
                    static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())));
            }
        }
    }
    return names;
}

xcb_window_t SelectionConnection::createWindow() const
{
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, rootWindow, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    return window;
}

SelectionConnection::Outcome SelectionConnection::readProperty(xcb_window_t window,
                                                               xcb_atom_t property,
                                                               std::size_t most, Deadline deadline,
                                                               PropertyValue& value) const
{
    value = {};
    for (bool first = true;; first = false) {
        const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            connection,
            xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY,
                             static_cast<std::uint32_t>(value.bytes.size() / 4), readAtOnce / 4),
            nullptr));
        if (!reply || reply->type == XCB_ATOM_NONE) {
            return Outcome::absent;
        }
        if (first) {
            value.type = reply->type;
            value.format = reply->format;
        } else if (value.type != reply->type || value.format != reply->format) {
            return Outcome::absent;
        }
        const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
        if (length + reply->bytes_after > most - std::min(most, value.bytes.size())) {
            return Outcome::tooLarge;
        }
        const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
        value.bytes.reserve(value.bytes.size() + length + reply->bytes_after);
        value.bytes.insert(value.bytes.end(), bytes, bytes + length);
        if (reply->bytes_after == 0) {
            return Outcome::read;
        }
        if (length != readAtOnce) {
            return Outcome::absent; // no further piece can be asked for from an odd place
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return Outcome::late;
        }
    }
}

bool SelectionConnection::setProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                                      std::uint8_t format,
                                      std::span<const std::uint8_t> bytes) const
{
    const auto elements = static_cast<std::uint32_t>(bytes.size() / (format / 8U));
    const auto cookie = xcb_change_property_checked(connection, XCB_PROP_MODE_REPLACE, window,
                                                    property, type, format, elements, bytes.data());
    const XcbPointer<xcb_generic_error_t> error(xcb_request_check(connection, cookie));
    return !error && xcb_connection_has_error(connection) == 0;
}

} // namespace vorlin
