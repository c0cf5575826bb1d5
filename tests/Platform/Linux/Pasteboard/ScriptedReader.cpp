#include "Platform/Linux/Pasteboard/ScriptedReader.h"

#include <cstring>

#include <gtest/gtest.h>

namespace vorlin {

void ScriptedReader::ask(const std::string& target, const std::string& selection,
                         xcb_timestamp_t time)
{
    xcb_convert_selection(connection, window, atom(selection), atom(target), atom("READ"), time);
    xcb_flush(connection);
}

bool ScriptedReader::awaitAnswer()
{
    const XEvent answer = await([](const xcb_generic_event_t& event) {
        return (event.response_type & 0x7f) == XCB_SELECTION_NOTIFY;
    });
    EXPECT_NE(answer, nullptr) << "no answer";
    return answer &&
           reinterpret_cast<const xcb_selection_notify_event_t&>(*answer).property != XCB_ATOM_NONE;
}

Typed ScriptedReader::take()
{
    const XcbPointer<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection,
                               xcb_get_property(connection, 1, window, atom("READ"),
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, 0x10000000),
                               nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE) {
        return {};
    }
    const auto* bytes = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
    return {name(reply->type), reply->format,
            Bytes(bytes, bytes + xcb_get_property_value_length(reply.get()))};
}

bool ScriptedReader::awaitPiece()
{
    const xcb_atom_t property = atom("READ");
    return await([&](const xcb_generic_event_t& event) {
               const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
               return (event.response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
                      change.state == XCB_PROPERTY_NEW_VALUE && change.atom == property;
           }) != nullptr;
}

std::optional<Typed> ScriptedReader::read(const std::string& target, const std::string& selection,
                                          xcb_timestamp_t time)
{
    ask(target, selection, time);
    if (!awaitAnswer()) {
        return std::nullopt;
    }
    EXPECT_TRUE(awaitPiece()); // the property that the answer is about
    Typed whole = take();
    incremental = whole.type == "INCR";
    if (!incremental) {
        return whole;
    }
    whole = {};
    while (awaitPiece()) {
        const Typed piece = take();
        if (piece.bytes.empty()) {
            return whole;
        }
        whole.type = piece.type;
        whole.format = piece.format;
        whole.bytes.insert(whole.bytes.end(), piece.bytes.begin(), piece.bytes.end());
    }
    ADD_FAILURE() << "an incremental transfer did not end";
    return std::nullopt;
}

std::string ScriptedReader::text(const std::string& selection)
{
    const auto data = read("UTF8_STRING", selection);
    return data ? textOf(data->bytes) : "(refused)";
}

std::vector<std::string> ScriptedReader::targets(const std::string& selection)
{
    std::vector<std::string> names;
    if (const auto list = read("TARGETS", selection)) {
        EXPECT_EQ(list->type, "ATOM");
        EXPECT_EQ(list->format, 32);
        for (std::size_t i = 0; i + 4 <= list->bytes.size(); i += 4) {
            xcb_atom_t target = 0;
            std::memcpy(&target, list->bytes.data() + i, sizeof(target));
            names.push_back(name(target));
        }
    }
    return names;
}

} // namespace vorlin
