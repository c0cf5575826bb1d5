#include "Platform/Linux/X11/X11Atoms.h"

namespace vorlin {

xcb_atom_t X11Atoms::operator[](std::string_view name)
{
    const auto found = known.find(name);
    if (found != known.end()) {
        return found->second;
    }
    if (!server.isAlive()) {
        return XCB_ATOM_NONE;
    }
    const auto reply = server.reply<xcb_intern_atom_reply_t>(
        xcb_intern_atom(server.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
    if (!reply) {
        return XCB_ATOM_NONE;
    }
    known.emplace(name, reply->atom);
    return reply->atom;
}

} // namespace vorlin
