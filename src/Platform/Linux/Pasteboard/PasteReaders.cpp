#include "Platform/Linux/Pasteboard/PasteReaders.h"

#include "Platform/Linux/Environment.h"
#include "Platform/Linux/Pasteboard/ReaderProcesses.h"

#include <algorithm>
#include <utility>

#include <xcb/res.h>

namespace vorlin {

namespace {

constexpr int deepestWindow = 32;
/// A compositor keeps a clipboard as soon as there is one. Shorter than a paste waits for that.
constexpr std::chrono::milliseconds keepsWithin{400};

} // namespace

PasteReaders::PasteReaders(const SelectionConnection& connection)
    : connection(connection), managerSelection(connection.atom("CLIPBOARD_MANAGER")),
      windowManagerSelection(connection.atom("WM_S0")),
      inWayland(processEnvironment()("WAYLAND_DISPLAY").has_value()),
      probe(connection.createWindow())
{
}

void PasteReaders::rememberFocus()
{
    remembered = focus();
    written = std::chrono::steady_clock::now();
    offered = processTime();
    keptByCompositor = false;
}

xcb_window_t PasteReaders::focus() const
{
    const XcbPointer<xcb_get_input_focus_reply_t> reply(xcb_get_input_focus_reply(
        connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    const bool window = reply && reply->focus > XCB_INPUT_FOCUS_FOLLOW_KEYBOARD &&
                        reply->focus != connection.root();
    return window ? reply->focus : xcb_window_t{XCB_NONE};
}

/// Whether a program has taken the keys whichever window has the focus. The server says so first
/// when another one wants them, and then that this one cannot have them, for its window is not
/// shown. While a key is down they may be no program's but the key's: a shortcut, of the desktop's
/// or our own, has the keyboard until its key is let go.
bool PasteReaders::isKeyboardTaken() const
{
    const XcbPointer<xcb_grab_keyboard_reply_t> reply(
        xcb_grab_keyboard_reply(connection.get(),
                                xcb_grab_keyboard(connection.get(), 0, probe, XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED && !isAnyKeyDown();
}

bool PasteReaders::isAnyKeyDown() const
{
    const XcbPointer<xcb_query_keymap_reply_t> reply(
        xcb_query_keymap_reply(connection.get(), xcb_query_keymap(connection.get()), nullptr));
    return !reply || std::ranges::any_of(reply->keys, [](auto eight) { return eight != 0; });
}

std::uint32_t PasteReaders::process(xcb_window_t window) const
{
    if (!connection.tellsProcesses()) {
        return 0;
    }
    const xcb_res_client_id_spec_t question{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const XcbPointer<xcb_res_query_client_ids_reply_t> reply(xcb_res_query_client_ids_reply(
        connection.get(), xcb_res_query_client_ids(connection.get(), 1, &question), nullptr));
    if (!reply) {
        return 0;
    }
    const auto answers = xcb_res_query_client_ids_ids_iterator(reply.get());
    if (answers.rem == 0 || xcb_res_client_id_value_value_length(answers.data) < 1) {
        return 0;
    }
    return *xcb_res_client_id_value_value(answers.data);
}

bool PasteReaders::isManager(xcb_window_t window) const
{
    const XcbPointer<xcb_get_selection_owner_reply_t> manager(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), managerSelection), nullptr));
    if (manager && manager->owner != XCB_NONE &&
        connection.clientOf(manager->owner) == connection.clientOf(window)) {
        return true;
    }
    const std::uint32_t reader = process(window);
    return reader != 0 && isClipboardManager(processName(reader));
}

bool PasteReaders::sameProgram(xcb_window_t reader, xcb_window_t focused) const
{
    if (focused == XCB_NONE) {
        return false;
    }
    if (connection.clientOf(reader) == connection.clientOf(focused)) {
        return true;
    }
    const std::uint32_t readers = process(reader);
    const std::uint32_t focuseds = process(focused);
    if (readers == 0 || focuseds == 0) {
        return false;
    }
    return readers == focuseds || (isWindowsProgram(readers) && isWindowsProgram(focuseds));
}

/// Whether the reader does for the focused program what that does not do itself: it is another
/// process of it, or was begun by it since the text was offered. Who was there before may be
/// anybody, where a terminal has the focus.
bool PasteReaders::worksFor(xcb_window_t reader, xcb_window_t focused) const
{
    const std::uint32_t readers = process(reader);
    const std::uint32_t focuseds = process(focused);
    return readers != 0 && focuseds != 0 &&
           (runTheSameProgram(readers, focuseds) || wasBegunBy(readers, focuseds, offered)) &&
           !isManager(reader);
}

/// Whether `outer` is an ancestor of `window`: programs show windows of others in their own.
bool PasteReaders::isWithin(xcb_window_t window, xcb_window_t outer) const
{
    for (int depth = 0; depth < deepestWindow && window != connection.root(); ++depth) {
        if (window == outer) {
            return true;
        }
        const XcbPointer<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            connection.get(), xcb_query_tree(connection.get(), window), nullptr));
        if (!tree || tree->parent == XCB_NONE) {
            return false;
        }
        window = tree->parent;
    }
    return false;
}

bool PasteReaders::isNobodyKnown(xcb_window_t focused) const
{
    return (focused == XCB_NONE && remembered == XCB_NONE) || isKeyboardTaken();
}

bool PasteReaders::isFocused(xcb_window_t reader, xcb_window_t focused) const
{
    const auto isTheOneOf = [&](xcb_window_t window) {
        return window != XCB_NONE && (sameProgram(reader, window) || isWithin(reader, window) ||
                                      worksFor(reader, window));
    };
    return isTheOneOf(focused) || isTheOneOf(remembered);
}

bool PasteReaders::isBridge(xcb_window_t reader) const
{
    if (!inWayland) {
        return false;
    }
    const XcbPointer<xcb_get_selection_owner_reply_t> manager(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), windowManagerSelection),
        nullptr));
    return manager && sameProgram(reader, manager->owner);
}

bool PasteReaders::counts(xcb_window_t window)
{
    const xcb_window_t focused = focus();
    if (!isManager(window)) {
        return isFocused(window, focused) || isNobodyKnown(focused);
    }
    return isBridge(window) && std::exchange(keptByCompositor, true) && isFocused(window, focused);
}

bool PasteReaders::isForKeeping(xcb_window_t window)
{
    const auto age = std::chrono::steady_clock::now() - written;
    if (keptByCompositor || age >= keepsWithin || !isBridge(window)) {
        return false;
    }
    keptByCompositor = true;
    return true;
}

bool PasteReaders::mayRead(xcb_window_t window) const
{
    const xcb_window_t focused = focus();
    return isFocused(window, focused) || isBridge(window) ||
           (isNobodyKnown(focused) && !isManager(window));
}

} // namespace vorlin
