#pragma once

#include "Platform/Linux/Pasteboard/XTestClient.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vorlin {

/// Another program that owns a selection and answers requests as its script says, on a thread of
/// its own, one request after the other.
class ScriptedOwner : public XTestClient {
public:
    using Request = xcb_selection_request_event_t;
    using Script = std::function<void(ScriptedOwner&, const Request&)>;

    /// Owns `selection` when it returns.
    explicit ScriptedOwner(Script script, const std::string& selection = "CLIPBOARD");
    /// Leaves the display.
    ~ScriptedOwner();

    /// How often `target` has been asked for.
    int asked(const std::string& target) const;
    /// Waits until `target` has been asked for so often.
    bool awaitAsked(const std::string& target, int times = 1) const;

    /// Leaves the display as a crash does. Also from the script, as its last act.
    void die();

    // What scripts are made of.
    void put(const Request& request, const Typed& data);
    void putTargets(const Request& request, const std::vector<std::string>& targets);
    void refuse(const Request& request);
    void setProperty(const Request& request, const Typed& data);
    void notify(const Request& request, xcb_atom_t property);
    /// Announces an incremental transfer of (allegedly) `size` bytes.
    void announce(const Request& request, std::uint32_t size);
    /// Waits until the reader has taken the property away. False if the test is over.
    bool awaitTaken(const Request& request);
    /// A whole incremental transfer.
    void putIncrementally(const Request& request, const Typed& data, std::size_t piece = 65536);

private:
    void live();

    Script script;
    std::atomic<bool> stopping = false;
    mutable std::mutex lock;
    std::map<std::string, int> requests;
    std::thread thread;
};

/// Offers `data` by target, incrementally where they are large, as a well-made program does.
ScriptedOwner::Script offering(std::map<std::string, Typed> data);

/// `offering` bytes of the type asked for.
Typed plain(const std::string& target, Bytes bytes);

} // namespace vorlin
