#pragma once

#include "Platform/Linux/X11/X11Connection.h"

#include <map>
#include <string>
#include <string_view>

namespace vorlin {

/// The atoms of one connection by name, each asked for once.
class X11Atoms {
public:
    /// `server` must outlive this object.
    explicit X11Atoms(X11Connection& server) : server(server) {}

    /// The atom; none when the server cannot be reached.
    xcb_atom_t operator[](std::string_view name);

private:
    X11Connection& server;
    std::map<std::string, xcb_atom_t, std::less<>> known;
};

} // namespace vorlin
