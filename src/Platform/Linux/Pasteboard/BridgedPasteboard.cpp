#include "Platform/Linux/Pasteboard/BridgedPasteboard.h"

#include "Platform/Linux/Pasteboard/SelectionTargets.h"
#include "Platform/Linux/X11/X11Atoms.h"

#include <algorithm>
#include <chrono>
#include <set>

namespace vorlin {

namespace {

constexpr std::chrono::milliseconds patience{50};
constexpr const char* textOfX11 = "UTF8_STRING";
constexpr const char* textOfWayland = "text/plain;charset=utf-8";

/// The names of what was read, for an owner that lists none.
std::vector<std::string> targetsOf(const PasteboardSnapshot& contents)
{
    std::vector<std::string> targets;
    for (const PasteboardItem& item : contents) {
        for (const auto& [type, bytes] : item) {
            if (const auto form = targetForm(type)) {
                targets.push_back(form->target);
            }
        }
    }
    return targets;
}

PasteboardSnapshot namedForWayland(PasteboardSnapshot contents)
{
    for (PasteboardItem& item : contents) {
        if (const auto text = item.find(textOfX11); text != item.end()) {
            item.try_emplace(textOfWayland, text->second);
        }
    }
    return contents;
}

} // namespace

bool arePassedOn(const std::vector<std::string>& types, const std::vector<std::string>& targets)
{
    std::set<std::string> needed;
    std::set<std::string> possible;
    for (const std::string& target : targets) {
        if (target == textOfX11) {
            needed.insert(textOfWayland);
        } else if (target == "TEXT" || target == "STRING") {
            possible.insert("text/plain"); // not every compositor has a name for each
        } else if (target.find('/') != std::string::npos) {
            needed.insert(target);
        }
    }
    possible.insert(needed.begin(), needed.end());
    const std::set<std::string> there(types.begin(), types.end());
    return !there.empty() && std::ranges::includes(there, needed) &&
           std::ranges::includes(possible, there);
}

BridgedPasteboard::BridgedPasteboard(DataControlPasteboard& compositor, X11Pasteboard& xwayland,
                                     X11Connection& server, MainLoop& loop)
    : compositor(compositor), xwayland(xwayland), server(server), loop(loop),
      clipboard(X11Atoms(server)["CLIPBOARD"]),
      managersWindow(X11Atoms(server)["_NET_SUPPORTING_WM_CHECK"])
{
}

Completion<PasteboardSnapshot> BridgedPasteboard::snapshot(PasteSource source)
{
    if (!isOwnedOnXWayland(source)) {
        return compositor.snapshot(source);
    }
    Completion<PasteboardSnapshot> read;
    spawn(loop, lifetime.token(), readFromXWayland(source, read.completer()));
    return read;
}

Task<void> BridgedPasteboard::readFromXWayland(PasteSource source,
                                               Completer<PasteboardSnapshot> reader)
{
    auto contents = co_await xwayland.snapshot(source);
    auto targets = xwayland.targets(source);
    if (targets.empty()) {
        targets = targetsOf(contents);
    }
    if (!arePassedOn(compositor.types(source), targets)) {
        contents = co_await compositor.snapshot(source);
    }
    reader.complete(std::move(contents));
}

void BridgedPasteboard::replace(PasteSource source, const PasteboardSnapshot& contents)
{
    compositor.replace(source, namedForWayland(contents));
}

void BridgedPasteboard::restore(PasteSource source, const PasteboardSnapshot& contents)
{
    compositor.restore(source, namedForWayland(contents));
}

/// Whether a program there owns the contents, and not the window manager in its stead for one of
/// Wayland.
bool BridgedPasteboard::isOwnedOnXWayland(PasteSource source)
{
    if (!server.isAlive()) {
        return false;
    }
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + patience;
    const auto left = [deadline] {
        return std::chrono::ceil<std::chrono::milliseconds>(
            std::max(deadline - Clock::now(), Clock::duration::zero()));
    };
    const auto selection =
        source == PasteSource::clipboard ? clipboard : xcb_atom_t{XCB_ATOM_PRIMARY};
    const auto ownerRequest = xcb_get_selection_owner(server.get(), selection);
    const auto managerRequest =
        xcb_get_property(server.get(), 0, server.root(), managersWindow, XCB_ATOM_WINDOW, 0, 1);
    const auto owner = server.reply<xcb_get_selection_owner_reply_t>(ownerRequest, left());
    const auto manager = server.reply<xcb_get_property_reply_t>(managerRequest, left());
    bool& owned = wasOwnedThere[selectionIndex(source)];
    if (!owner || !manager) {
        return owned && server.isAlive(); // it has not answered in time
    }
    if (owner->owner == XCB_NONE || manager->format != 32 ||
        xcb_get_property_value_length(manager.get()) != 4) {
        owned = false;
    } else {
        const auto window = *static_cast<xcb_window_t*>(xcb_get_property_value(manager.get()));
        const auto client = ~xcb_get_setup(server.get())->resource_id_mask;
        owned = (owner->owner & client) != (window & client);
    }
    return owned;
}

} // namespace vorlin
