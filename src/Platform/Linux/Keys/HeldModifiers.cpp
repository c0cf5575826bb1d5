#include "Platform/Linux/Keys/HeldModifiers.h"

#include <wayland-client.h>

namespace vorlin {

namespace {

/// The first that tells of modifiers, and not of locks alone.
constexpr std::uint32_t version = 5;
constexpr std::uint32_t firstModifier = 3;
constexpr std::uint32_t up = 0;

// What is asked and told, as wayland-scanner would have it.
namespace request {
constexpr std::uint32_t fetchStates = 0;
constexpr std::uint32_t destroy = 1;
} // namespace request
const wl_interface* numbersOnly[] = {nullptr, nullptr};
const wl_message requests[] = {{"fetchStates", "", numbersOnly}, {"destroy", "4", numbersOnly}};
const wl_message events[] = {{"stateChanged", "uu", numbersOnly}};
const wl_interface keyStates{"org_kde_kwin_keystate", version, 2, requests, 1, events};

struct Listener {
    void (*stateChanged)(void* data, wl_proxy* states, std::uint32_t key, std::uint32_t state);
};

} // namespace

HeldModifiers::HeldModifiers(WaylandConnection& connection)
{
    if (connection.offered(keyStates.name) < version) {
        return;
    }
    states = connection.bind<wl_proxy>(keyStates, version);
    static constexpr Listener listener{
        [](void* data, wl_proxy* /*states*/, std::uint32_t key, std::uint32_t state) {
            static_cast<HeldModifiers*>(data)->changed(key, state);
        }};
    // It takes any listener as a list of functions without a type.
    wl_proxy_add_listener(states, reinterpret_cast<void (**)()>(const_cast<Listener*>(&listener)),
                          this);
    wl_proxy_marshal_flags(states, request::fetchStates, nullptr, version, 0);
    connection.flush();
}

HeldModifiers::~HeldModifiers()
{
    if (states != nullptr) {
        wl_proxy_marshal_flags(states, request::destroy, nullptr, version, WL_MARSHAL_FLAG_DESTROY);
    }
}

void HeldModifiers::changed(std::uint32_t key, std::uint32_t state)
{
    if (key >= firstModifier && state != up) {
        inEffect.insert(key);
    } else {
        inEffect.erase(key);
    }
}

} // namespace vorlin
