#pragma once

#include "Platform/Linux/Sway/SwayFrames.h"
#include "Platform/Shared/Descriptor.h"

#include <QSocketNotifier>
#include <QTemporaryDir>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// A socket at which the test plays sway, in the loop of the test.
class PlayedSway {
public:
    struct Request {
        std::uint32_t type = 0;
        std::string payload;
    };
    /// The answer to a request; nothing for none.
    using Answerer = std::function<std::optional<std::string>(const Request&)>;

    PlayedSway();
    ~PlayedSway();

    std::string path() const;

    /// Everything that was asked so far, subscriptions included.
    std::vector<Request> requests;
    /// Says success to commands and subscriptions and nothing to the rest, until it is replaced.
    Answerer answer;
    int connections = 0;

    void event(SwayEvent type, const std::string& payload);
    void send(const std::string& bytes);

    /// Whom it served finds the connection gone.
    void hangUp();
    /// Nobody can connect any more.
    void close();
    void listen();

    /// The commands that were asked for, in order.
    std::vector<std::string> commands() const;

private:
    void accept();
    void read();

    QTemporaryDir folder;
    Descriptor listener;
    Descriptor client;
    SwayFrames frames;
    std::unique_ptr<QSocketNotifier> arrivals;
    std::unique_ptr<QSocketNotifier> readable;
};

} // namespace vorlin
