#include "Platform/Linux/Keys/X11FocusedProgram.h"

#include "Platform/Linux/Keys/PasteChords.h"

#include <string_view>

namespace vorlin {

namespace {

/// An answer takes a fraction of a millisecond, unless another program keeps the server busy.
constexpr std::chrono::milliseconds limit{50};
/// Focused windows lie a few levels below the one that bears the class.
constexpr int mostLevels = 32;
constexpr std::uint32_t longestClass = 256;
constexpr std::string_view activeWindowName = "_NET_ACTIVE_WINDOW";

std::chrono::milliseconds timeLeft(std::chrono::steady_clock::time_point deadline)
{
    return std::chrono::ceil<std::chrono::milliseconds>(deadline -
                                                        std::chrono::steady_clock::now());
}

} // namespace

PasteChord X11FocusedProgram::pasteChord()
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    if (server.isAlive()) {
        // Keys go to the focused window; some programs keep it outside their own windows.
        for (const auto window : {focusedWindow(deadline), activeWindow(deadline)}) {
            if (!window) {
                continue;
            }
            if (const auto found = classOf(*window, deadline)) {
                return chordFor(found->instanceName, found->className);
            }
        }
    }
    return chordFor({}, {});
}

PasteChord X11FocusedProgram::chordFor(std::string_view instanceName,
                                       std::string_view className) const
{
    auto chord = pasteChordFor(instanceName, className);
    chord.looksFirst |= reach == Reach::xwayland && chord.source == PasteSource::clipboard;
    return chord;
}

std::optional<std::uint64_t> X11FocusedProgram::window()
{
    if (reach != Reach::session || !server.isAlive()) {
        return std::nullopt;
    }
    const auto deadline = std::chrono::steady_clock::now() + limit;
    auto window = focusedWindow(deadline);
    if (window == server.root()) {
        return std::nullopt;
    }
    for (int level = 0; window && level < mostLevels; ++level) {
        const auto tree = server.reply<xcb_query_tree_reply_t>(
            xcb_query_tree(server.get(), *window), timeLeft(deadline));
        if (!tree || tree->parent == server.root()) {
            return tree ? std::optional<std::uint64_t>(*window) : std::nullopt;
        }
        window = tree->parent;
    }
    return std::nullopt;
}

std::optional<xcb_window_t> X11FocusedProgram::focusedWindow(Deadline deadline)
{
    const auto focus = server.reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(server.get()),
                                                                 timeLeft(deadline));
    constexpr auto lastSpecialValue = static_cast<xcb_window_t>(XCB_INPUT_FOCUS_FOLLOW_KEYBOARD);
    if (!focus || focus->focus <= lastSpecialValue) {
        return std::nullopt;
    }
    return focus->focus;
}

std::optional<xcb_window_t> X11FocusedProgram::activeWindow(Deadline deadline)
{
    if (activeWindowAtom == XCB_NONE) {
        const auto atom = server.reply<xcb_intern_atom_reply_t>(
            xcb_intern_atom(server.get(), 0, activeWindowName.size(), activeWindowName.data()),
            timeLeft(deadline));
        activeWindowAtom = atom ? atom->atom : XCB_NONE;
    }
    const auto property = server.reply<xcb_get_property_reply_t>(
        xcb_get_property(server.get(), 0, server.root(), activeWindowAtom, XCB_ATOM_WINDOW, 0, 1),
        timeLeft(deadline));
    if (!property || property->format != 32 || xcb_get_property_value_length(property.get()) != 4) {
        return std::nullopt;
    }
    const auto window = *static_cast<xcb_window_t*>(xcb_get_property_value(property.get()));
    return window == XCB_NONE ? std::nullopt : std::optional(window);
}

std::optional<X11FocusedProgram::WindowClass> X11FocusedProgram::classOf(xcb_window_t window,
                                                                         Deadline deadline)
{
    for (int level = 0; level < mostLevels && window != XCB_NONE && window != server.root();
         ++level) {
        const auto classRequest = xcb_get_property(server.get(), 0, window, XCB_ATOM_WM_CLASS,
                                                   XCB_ATOM_STRING, 0, longestClass);
        const auto treeRequest = xcb_query_tree(server.get(), window);
        const auto property =
            server.reply<xcb_get_property_reply_t>(classRequest, timeLeft(deadline));
        const auto tree = server.reply<xcb_query_tree_reply_t>(treeRequest, timeLeft(deadline));
        if (property && property->format == 8 && property->value_len > 0) {
            const std::string_view value(
                static_cast<const char*>(xcb_get_property_value(property.get())),
                static_cast<std::size_t>(xcb_get_property_value_length(property.get())));
            // Two strings, each with a zero behind it.
            const auto end = value.find('\0');
            WindowClass result{std::string(value.substr(0, end)), {}};
            if (end != std::string_view::npos) {
                const auto rest = value.substr(end + 1);
                result.className = rest.substr(0, rest.find('\0'));
            }
            return result;
        }
        window = tree ? tree->parent : XCB_NONE;
    }
    return std::nullopt;
}

} // namespace vorlin
