#include "Platform/Linux/Keys/ToplevelFocus.h"

#include "Platform/Linux/Keys/PasteChords.h"

#include <algorithm>
#include <span>

#include <wlr-foreign-toplevel-management-unstable-v1.h>

namespace vorlin {

namespace {

constexpr std::uint32_t newestVersion = 3;

bool hasActivated(const wl_array* states)
{
    const std::span all(static_cast<const std::uint32_t*>(states->data),
                        states->size / sizeof(std::uint32_t));
    return std::ranges::find(all, ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) != all.end();
}

} // namespace

struct ToplevelFocus::Listeners {
    static Window& window(void* data) { return *static_cast<Window*>(data); }

    static constexpr zwlr_foreign_toplevel_handle_v1_listener ofWindow = {
        .title = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
        .app_id = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                     const char* id) { window(data).told.appId = id; },
        .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
        .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
        .state = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                    wl_array* states) { window(data).told.isActivated = hasActivated(states); },
        .done = [](void* data,
                   zwlr_foreign_toplevel_handle_v1*) { window(data).current = window(data).told; },
        .closed = [](void* data,
                     zwlr_foreign_toplevel_handle_v1*) { window(data).owner.remove(window(data)); },
        .parent = [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {},
    };
    static constexpr zwlr_foreign_toplevel_manager_v1_listener ofManager = {
        .toplevel =
            [](void* data, zwlr_foreign_toplevel_manager_v1*,
               zwlr_foreign_toplevel_handle_v1* handle) {
                static_cast<ToplevelFocus*>(data)->add(handle);
            },
        .finished =
            [](void* data, zwlr_foreign_toplevel_manager_v1* manager) {
                zwlr_foreign_toplevel_manager_v1_destroy(manager);
                static_cast<ToplevelFocus*>(data)->manager = nullptr;
            },
    };
};

bool ToplevelFocus::isOffered(const WaylandConnection& connection)
{
    return connection.offered(zwlr_foreign_toplevel_manager_v1_interface.name) > 0;
}

ToplevelFocus::ToplevelFocus(WaylandConnection& connection, FocusedProgram& unknown)
    : connection(connection), unknown(unknown),
      manager(connection.bind<zwlr_foreign_toplevel_manager_v1>(
          zwlr_foreign_toplevel_manager_v1_interface, newestVersion))
{
    if (manager != nullptr) {
        zwlr_foreign_toplevel_manager_v1_add_listener(manager, &Listeners::ofManager, this);
        connection.flushSoon();
    }
}

ToplevelFocus::~ToplevelFocus()
{
    for (const auto& each : windows) {
        zwlr_foreign_toplevel_handle_v1_destroy(each->handle);
    }
    if (manager != nullptr) {
        zwlr_foreign_toplevel_manager_v1_destroy(manager);
    }
}

PasteChord ToplevelFocus::pasteChord()
{
    const auto* window = focused();
    return window == nullptr ? unknown.pasteChord() : pasteChordFor({}, window->current.appId);
}

std::optional<std::uint64_t> ToplevelFocus::window()
{
    const auto* window = focused();
    return window == nullptr ? std::nullopt : std::optional(window->number);
}

/// The only window that has the focus, once all is known of it; else null.
const ToplevelFocus::Window* ToplevelFocus::focused() const
{
    if (manager == nullptr || !connection.alive().get()) {
        return nullptr;
    }
    const Window* found = nullptr;
    for (const auto& each : windows) {
        if (each->current.isActivated) {
            if (found != nullptr) {
                return nullptr;
            }
            found = each.get();
        }
    }
    return found == nullptr || found->current.appId.empty() ? nullptr : found;
}

void ToplevelFocus::add(zwlr_foreign_toplevel_handle_v1* handle)
{
    windows.push_back(std::make_unique<Window>(Window{
        .owner = *this, .handle = handle, .number = ++lastNumber, .told = {}, .current = {}}));
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &Listeners::ofWindow,
                                                 windows.back().get());
}

void ToplevelFocus::remove(const Window& window)
{
    zwlr_foreign_toplevel_handle_v1_destroy(window.handle);
    std::erase_if(windows, [&](const auto& each) { return each.get() == &window; });
}

} // namespace vorlin
