#include "Platform/Linux/Pasteboard/ScriptedOwner.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace vorlin {

ScriptedOwner::ScriptedOwner(Script script, const std::string& selection)
    : script(std::move(script))
{
    xcb_set_selection_owner(connection, window, atom(selection), XCB_CURRENT_TIME);
    EXPECT_EQ(owner(selection), window);
    thread = std::thread([this] { live(); });
}

ScriptedOwner::~ScriptedOwner()
{
    stopping = true;
    thread.join();
}

void ScriptedOwner::live()
{
    const auto isRequest = [](const xcb_generic_event_t& event) {
        return (event.response_type & 0x7f) == XCB_SELECTION_REQUEST;
    };
    while (!stopping && xcb_connection_has_error(connection) == 0) {
        const XEvent event = await(isRequest, [this] { return stopping.load(); });
        if (event) {
            const auto& request = reinterpret_cast<const Request&>(*event);
            {
                const std::string target = name(request.target);
                const std::scoped_lock guard(lock);
                ++requests[target];
            }
            script(*this, request);
            xcb_flush(connection);
        }
    }
}

int ScriptedOwner::asked(const std::string& target) const
{
    const std::scoped_lock guard(lock);
    const auto found = requests.find(target);
    return found == requests.end() ? 0 : found->second;
}

bool ScriptedOwner::awaitAsked(const std::string& target, int times) const
{
    const auto end = std::chrono::steady_clock::now() + generously;
    while (asked(target) < times && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return asked(target) >= times;
}

void ScriptedOwner::die()
{
    xcb_flush(connection);
    shutdown(xcb_get_file_descriptor(connection), SHUT_RDWR);
}

void ScriptedOwner::setProperty(const Request& request, const Typed& data)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                        atom(data.type), data.format,
                        static_cast<std::uint32_t>(data.bytes.size() / (data.format / 8U)),
                        data.bytes.data());
}

void ScriptedOwner::notify(const Request& request, xcb_atom_t property)
{
    xcb_selection_notify_event_t answer{};
    answer.response_type = XCB_SELECTION_NOTIFY;
    answer.time = request.time;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.property = property;
    std::array<char, 32> event{};
    std::memcpy(event.data(), &answer, sizeof(answer));
    xcb_send_event(connection, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.data());
    xcb_flush(connection);
}

void ScriptedOwner::put(const Request& request, const Typed& data)
{
    setProperty(request, data);
    notify(request, request.property);
}

void ScriptedOwner::putTargets(const Request& request, const std::vector<std::string>& targets)
{
    Typed list{"ATOM", 32, {}};
    for (const std::string& target : targets) {
        const xcb_atom_t number = atom(target);
        std::array<std::uint8_t, sizeof(number)> bytes{};
        std::memcpy(bytes.data(), &number, sizeof(number));
        list.bytes.insert(list.bytes.end(), bytes.begin(), bytes.end());
    }
    put(request, list);
}

void ScriptedOwner::refuse(const Request& request)
{
    notify(request, XCB_ATOM_NONE);
}

void ScriptedOwner::announce(const Request& request, std::uint32_t size)
{
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, request.requestor, XCB_CW_EVENT_MASK, &events);
    Typed announcement{"INCR", 32, Bytes(sizeof(size))};
    std::memcpy(announcement.bytes.data(), &size, sizeof(size));
    put(request, announcement);
}

bool ScriptedOwner::awaitTaken(const Request& request)
{
    return await(
               [&](const xcb_generic_event_t& event) {
                   const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
                   return (event.response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
                          change.window == request.requestor && change.atom == request.property &&
                          change.state == XCB_PROPERTY_DELETE;
               },
               [this] { return stopping.load(); }) != nullptr;
}

void ScriptedOwner::putIncrementally(const Request& request, const Typed& data, std::size_t piece)
{
    announce(request, static_cast<std::uint32_t>(data.bytes.size()));
    std::size_t sent = 0;
    for (;;) {
        if (!awaitTaken(request)) {
            return;
        }
        const auto length = std::min(piece, data.bytes.size() - sent);
        const auto part = std::span(data.bytes).subspan(sent, length);
        setProperty(request, {data.type, data.format, Bytes(part.begin(), part.end())});
        xcb_flush(connection);
        sent += length;
        if (length == 0) {
            return;
        }
    }
}

ScriptedOwner::Script offering(std::map<std::string, Typed> data)
{
    return [data = std::move(data)](ScriptedOwner& owner, const ScriptedOwner::Request& request) {
        const std::string target = owner.name(request.target);
        const auto found = data.find(target);
        if (target == "TARGETS") {
            std::vector<std::string> targets = {"TARGETS", "TIMESTAMP", "MULTIPLE"};
            for (const auto& [name, each] : data) {
                targets.push_back(name);
            }
            owner.putTargets(request, targets);
        } else if (found == data.end()) {
            owner.refuse(request);
        } else if (found->second.bytes.size() > 200'000) {
            owner.putIncrementally(request, found->second);
        } else {
            owner.put(request, found->second);
        }
    };
}

Typed plain(const std::string& target, Bytes bytes)
{
    return {target, 8, std::move(bytes)};
}

} // namespace vorlin
