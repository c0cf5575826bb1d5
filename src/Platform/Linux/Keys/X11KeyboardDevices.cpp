#include "Platform/Linux/Keys/X11KeyboardDevices.h"

#include <string_view>

#include <xkbcommon/xkbcommon-x11.h>

namespace vorlin {

std::optional<X11KeyboardDevices> findKeyboardDevices(X11Connection& connection)
{
    const auto pointer = connection.reply<xcb_input_xi_get_client_pointer_reply_t>(
        xcb_input_xi_get_client_pointer(connection.get(), XCB_NONE));
    const auto devices = connection.reply<xcb_input_xi_query_device_reply_t>(
        xcb_input_xi_query_device(connection.get(), XCB_INPUT_DEVICE_ALL));
    if (!pointer || !devices) {
        return std::nullopt;
    }
    X11KeyboardDevices result;
    for (auto each = xcb_input_xi_query_device_infos_iterator(devices.get()); each.rem > 0;
         xcb_input_xi_device_info_next(&each)) {
        const auto& device = *each.data;
        // Mostly none is set; then it is the first.
        const bool isOurs =
            pointer->set != 0 ? device.attachment == pointer->deviceid : result.master == 0;
        if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && isOurs) {
            result.master = device.deviceid;
        }
    }
    for (auto each = xcb_input_xi_query_device_infos_iterator(devices.get()); each.rem > 0;
         xcb_input_xi_device_info_next(&each)) {
        const auto& device = *each.data;
        const std::string_view name(
            xcb_input_xi_device_info_name(&device),
            static_cast<std::size_t>(xcb_input_xi_device_info_name_length(&device)));
        if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD &&
            device.attachment == result.master &&
            name.find("XTEST keyboard") != std::string_view::npos) {
            result.posting = device.deviceid;
        }
    }
    if (result.master == 0 || result.posting == 0) {
        return std::nullopt;
    }
    return result;
}

X11Keymap readKeymap(X11Connection& connection, xcb_input_device_id_t device)
{
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
    if (!context || !connection.isAlive()) {
        return {};
    }
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        xkb_x11_keymap_new_from_device(context.get(), connection.get(), device,
                                       XKB_KEYMAP_COMPILE_NO_FLAGS),
        xkb_keymap_unref);
    connection.collectEvents();
    return keymap ? X11Keymap(keymap.get()) : X11Keymap();
}

} // namespace vorlin
