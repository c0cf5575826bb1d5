#include "Platform/Linux/Keys/SwayFocus.h"

#include "Platform/Linux/Keys/PasteChords.h"
#include "Platform/Linux/Sway/SwayAnswers.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <utility>

namespace vorlin {

namespace {

using nlohmann::json;

/// Far beyond any screen, so that sums of such numbers are numbers.
constexpr std::int64_t farthest = 1 << 24;

std::optional<std::int64_t> number(const json& object, const char* name)
{
    const auto* value = swayMember(object, name);
    if (value == nullptr || !value->is_number_integer()) {
        return std::nullopt;
    }
    return value->get<std::int64_t>();
}

std::optional<SwayArea> areaOf(const json& node)
{
    const auto* rect = swayMember(node, "rect");
    if (rect == nullptr) {
        return std::nullopt;
    }
    SwayArea area;
    for (const auto& [name, side] :
         {std::pair("x", &SwayArea::x), std::pair("y", &SwayArea::y),
          std::pair("width", &SwayArea::width), std::pair("height", &SwayArea::height)}) {
        const auto value = number(*rect, name);
        if (!value || std::abs(*value) > farthest) {
            return std::nullopt;
        }
        area.*side = static_cast<int>(*value);
    }
    return area.width > 0 && area.height > 0 ? std::optional(area) : std::nullopt;
}

/// The node that has the focus; null for none. Without recursion: nobody vouches for the depth.
const json* focusedNode(const json& tree)
{
    std::vector<const json*> open{&tree};
    while (!open.empty()) {
        const auto* node = open.back();
        open.pop_back();
        const auto* focused = swayMember(*node, "focused");
        if (focused != nullptr && *focused == json(true)) {
            return node;
        }
        for (const auto* name : {"nodes", "floating_nodes"}) {
            const auto* children = swayMember(*node, name);
            if (children != nullptr && children->is_array()) {
                for (const auto& child : *children) {
                    open.push_back(&child);
                }
            }
        }
    }
    return nullptr;
}

} // namespace

SwayFocus::SwayFocus(SwaySocket& socket, MainLoop& loop, std::chrono::milliseconds patience)
    : socket(socket), loop(loop), patience(patience), alive(std::make_shared<int>())
{
    events =
        socket.observe([this](SwayEvent event, const json& details) { follow(event, details); });
    connection = socket.connected().observe([this](bool connected) {
        forget();
        asking = false;
        if (connected) {
            ask();
        }
    });
    if (socket.connected().get()) {
        ask();
    }
}

PasteChord SwayFocus::pasteChord()
{
    return pasteChordFor(instanceName, className);
}

std::optional<std::uint64_t> SwayFocus::window()
{
    return id;
}

void SwayFocus::look(std::function<void()> found)
{
    waiting.push_back(std::move(found));
    limit = loop.startTimer(patience, [this] { tellFound(); });
    ask();
}

void SwayFocus::tellFound()
{
    limit.reset();
    for (const auto& found : std::exchange(waiting, {})) {
        found();
    }
}

void SwayFocus::follow(SwayEvent event, const json& details)
{
    const auto change = swayText(details, "change");
    if (event == SwayEvent::window && change == "focus") {
        if (const auto* container = swayMember(details, "container")) {
            focus(*container);
        }
    } else if ((event == SwayEvent::window && change != "title" && change != "mark" &&
                change != "urgent") ||
               event == SwayEvent::workspace) {
        // Which window has the focus then only the tree tells.
        ask();
    }
}

void SwayFocus::ask()
{
    if (asking) {
        stale = true;
        return;
    }
    asking = true;
    stale = false;
    socket.ask(SwayRequest::getTree, "", [this, token = std::weak_ptr(alive)](const json* answer) {
        if (token.expired()) {
            return;
        }
        asking = false;
        if (answer != nullptr) {
            take(*answer);
            if (stale) {
                ask();
                return;
            }
        }
        tellFound();
    });
}

/// While a layer has the keyboard no node has the focus, and the screen stays the one it was.
void SwayFocus::take(const json& tree)
{
    const auto* node = focusedNode(tree);
    if (node != nullptr) {
        focus(*node);
    } else {
        const auto before = area;
        forget();
        area = before;
    }
}

void SwayFocus::forget()
{
    id.reset();
    instanceName.clear();
    className.clear();
    area.reset();
    owner.reset();
    onXWayland = false;
}

void SwayFocus::focus(const json& node)
{
    forget();
    area = areaOf(node);
    const auto* process =
        swayMember(node, "pid"); // workspaces and what only arranges windows have none
    const auto number = vorlin::number(node, "id");
    if (process == nullptr || !number || *number < 0) {
        return;
    }
    id = static_cast<std::uint64_t>(*number);
    if (process->is_number_integer()) {
        owner = static_cast<pid_t>(process->get<std::int64_t>());
    }
    onXWayland = swayText(node, "shell") == "xwayland";
    className = swayText(node, "app_id");
    if (const auto* properties = swayMember(node, "window_properties")) {
        instanceName = swayText(*properties, "instance");
        className = className.empty() ? swayText(*properties, "class") : className;
    }
}

} // namespace vorlin
