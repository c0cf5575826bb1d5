#pragma once

#include "Platform/Linux/Pasteboard/PropertyPieces.h"
#include "Platform/Linux/X11/XcbPointer.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <xcb/xcb.h>

namespace vorlin {

/// The moment a waiting ends; a steady clock, so that setting the time of day changes nothing.
using Deadline = std::chrono::steady_clock::time_point;

/// A connection to the display server, for one thread. When the server goes away every question
/// gets the empty answer at once and nothing else happens: no signal, no exit.
class SelectionConnection {
public:
    /// Connects; may block for as long as the server does. The thread must have SIGPIPE blocked.
    explicit SelectionConnection(const std::string& display);
    SelectionConnection(const SelectionConnection&) = delete;
    SelectionConnection& operator=(const SelectionConnection&) = delete;
    ~SelectionConnection();

    /// Whether the server is there and tells about selections.
    bool alive() const;

    xcb_connection_t* get() const { return connection; }
    int fileDescriptor() const { return xcb_get_file_descriptor(connection); }
    xcb_window_t root() const { return rootWindow; }

    /// The first event number of the extension that reports changes of owners.
    std::uint8_t firstFixesEvent() const { return fixesEvent; }

    /// Whether processes behind windows can be asked for.
    bool tellsProcesses() const { return processes; }

    /// The most bytes that one request of ours carries with comfort.
    std::size_t largestPiece() const { return piece; }

    xcb_atom_t atom(std::string_view name) const;
    /// In the order of `names`, in one round trip. Zero for a name the server refuses.
    std::vector<xcb_atom_t> atoms(std::span<const std::string> names) const;
    /// In the order of `atoms`. An empty name for an atom that does not exist.
    std::vector<std::string> names(std::span<const xcb_atom_t> atoms) const;

    /// An invisible window of ours that reports changes of its properties.
    xcb_window_t createWindow() const;

    enum class Outcome { read, absent, tooLarge, late };

    /// Reads a property into `value`, at most `most` bytes and until `deadline`, piece by piece:
    /// neither its size nor that it stays the same is taken for granted.
    Outcome readProperty(xcb_window_t window, xcb_atom_t property, std::size_t most,
                         Deadline deadline, PropertyValue& value) const;

    /// Sets a property and says whether the server did. `bytes` must fit one request.
    bool setProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, std::uint8_t format,
                     std::span<const std::uint8_t> bytes) const;

    /// What identifies the client that made a window or other resource.
    std::uint32_t clientOf(std::uint32_t resource) const { return resource & ~resourceMask; }

private:
    bool startFixes();

    xcb_connection_t* connection;
    xcb_window_t rootWindow = XCB_NONE;
    std::uint32_t resourceMask = 0;
    std::uint8_t fixesEvent = 0;
    bool fixes = false;
    bool processes = false;
    std::size_t piece = 0;
};

} // namespace vorlin
