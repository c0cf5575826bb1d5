#pragma once

#include "Platform/Linux/Pasteboard/XTestClient.h"

#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// Another program that reads selections.
class ScriptedReader : public XTestClient {
public:
    using XTestClient::XTestClient;

    /// Asks for `target`; nothing if it was refused.
    std::optional<Typed> read(const std::string& target, const std::string& selection = "CLIPBOARD",
                              xcb_timestamp_t time = XCB_CURRENT_TIME);
    std::string text(const std::string& selection = "CLIPBOARD");
    std::vector<std::string> targets(const std::string& selection = "CLIPBOARD");

    /// Whether the last `read` came in pieces.
    bool incremental = false;

    // The steps of a reading.
    void ask(const std::string& target, const std::string& selection = "CLIPBOARD",
             xcb_timestamp_t time = XCB_CURRENT_TIME);
    /// Waits for the answer; false if it is a refusal.
    bool awaitAnswer();
    /// Reads the property and takes it away.
    Typed take();
    bool awaitPiece();
};

} // namespace vorlin
