#pragma once

#include "Platform/Linux/Wayland/WaylandConnection.h"
#include "Platform/Shared/Descriptor.h"
#include "Ports/Pasteboard.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// The clipboard of a Wayland session as clipboard managers have it, whoever has the focus:
/// ext-data-control-v1, or the older wlr-data-control-unstable-v1, which differ in their names
/// only. Of one seat, the first. Main loop; nothing waits, and requests on a dead connection do
/// nothing.
class DataControl {
public:
    /// Somebody, possibly this process, has put something there.
    using Changed = std::function<void(PasteSource)>;

    /// What becomes of contents that this process offers.
    struct Offered {
        /// Somebody reads `type` from the pipe that `end` writes to.
        std::function<void(const std::string& type, Descriptor end)> read;
        /// Something else has taken their place; nothing is called afterwards.
        std::function<void()> displaced;
    };

    /// Whether the compositor offers either.
    static bool isOffered(const WaylandConnection& connection);

    /// Null where the compositor offers neither. `connection` must outlive it. `changed` is called
    /// from the loop, and while somebody waits for the connection.
    static std::unique_ptr<DataControl> over(WaylandConnection& connection, Changed changed);

    DataControl() = default;
    DataControl(const DataControl&) = delete;
    DataControl& operator=(const DataControl&) = delete;
    virtual ~DataControl() = default;

    /// The types of what is there now; none where there is nothing.
    virtual std::vector<std::string> types(PasteSource source) const = 0;

    /// Lets its owner write one of those types into the pipe; false where there is nothing.
    virtual bool receive(PasteSource source, const std::string& type, const Descriptor& end) = 0;

    /// Offers contents of these types; none: nothing is there then. False, and nothing changes,
    /// where there is nobody to offer to. Calls nothing back before it returns.
    virtual bool offer(PasteSource source, const std::vector<std::string>& types,
                       Offered offered) = 0;
};

} // namespace vorlin
