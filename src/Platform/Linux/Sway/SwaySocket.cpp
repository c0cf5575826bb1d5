#include "Platform/Linux/Sway/SwaySocket.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace vorlin {

namespace {

/// Between attempts to reach sway; the last one goes on for as long as we run.
constexpr std::array<std::chrono::milliseconds, 4> retries = {
    std::chrono::milliseconds(50), std::chrono::milliseconds(200), std::chrono::milliseconds(1000),
    std::chrono::milliseconds(5000)};

/// A connection that has lasted so long was one to sway.
constexpr std::chrono::seconds lasting{5};

constexpr std::string_view subscription =
    R"(["binding","window","workspace","mode","input","shutdown"])";

/// More than that lies unread only before a sway that hangs.
constexpr std::size_t mostOutgoing = std::size_t{1} << 20U;

/// sway passes on what programs call their windows, and what the configuration says, byte by byte:
/// what is no UTF-8 there costs its own letters and not all the rest. Discarded for what is no JSON
/// even so.
nlohmann::json parsed(std::string text)
{
    auto result = nlohmann::json::parse(text, nullptr, false);
    if (result.is_discarded()) {
        std::ranges::replace_if(
            text, [](char letter) { return static_cast<unsigned char>(letter) >= 0x80; }, '?');
        result = nlohmann::json::parse(text, nullptr, false);
    }
    return result;
}

Descriptor connectedTo(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return {};
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket || ::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address),
                             sizeof address) != 0) {
        return {};
    }
    return socket;
}

} // namespace

bool isSwaySocketOf(const std::string& path, pid_t compositor)
{
    const auto socket = connectedTo(path);
    ucred peer{};
    socklen_t size = sizeof peer;
    return socket && (compositor == 0 ||
                      (getsockopt(socket.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
                       peer.pid == compositor));
}

SwaySocket::SwaySocket(std::string path, MainLoop& loop) : address(std::move(path)), loop(loop)
{
    connect();
}

SwaySocket::~SwaySocket() = default;

void SwaySocket::connect()
{
    again = nullptr;
    socket = connectedTo(address);
    if (!socket) {
        again = loop.startTimer(retries.at(attempt), [this] { connect(); });
        attempt = std::min(attempt + 1, retries.size() - 1);
        return;
    }
    ++generation;
    readable = std::make_unique<QSocketNotifier>(socket.number(), QSocketNotifier::Read);
    QObject::connect(readable.get(), &QSocketNotifier::activated, [this] { receive(); });
    writable = std::make_unique<QSocketNotifier>(socket.number(), QSocketNotifier::Write);
    writable->setEnabled(false);
    QObject::connect(writable.get(), &QSocketNotifier::activated, [this] { send(); });
    ask(SwayRequest::subscribe, subscription, [this](const nlohmann::json* answer) {
        if (answer != nullptr &&
            !(answer->is_object() && answer->value("success", nlohmann::json(false)) == true)) {
            lose();
        }
    });
    proof = loop.startTimer(lasting, [this] { attempt = 0; });
    isConnected.set(true);
}

void SwaySocket::ask(SwayRequest request, std::string_view payload, Answer answer)
{
    if (!socket || outgoing.size() + payload.size() > mostOutgoing) {
        refused.push_back(std::move(answer));
        refusal = loop.startTimer(Duration::zero(), [this] {
            for (const auto& each : std::exchange(refused, {})) {
                each(nullptr);
            }
        });
        return;
    }
    open.push_back({request, std::move(answer)});
    outgoing += swayFrame(static_cast<std::uint32_t>(request), payload);
    send();
}

/// A connection that breaks here is noticed when it is read.
void SwaySocket::send()
{
    bool full = false;
    while (socket && !outgoing.empty() && !full) {
        const auto sent =
            ::send(socket.number(), outgoing.data(), outgoing.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            outgoing.erase(0, static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            full = true;
        } else if (errno != EINTR) {
            break;
        }
    }
    if (writable) {
        writable->setEnabled(full);
    }
}

void SwaySocket::receive()
{
    const auto current = generation;
    std::array<char, 16384> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init): written below
    while (socket && generation == current) {
        const auto got = ::recv(socket.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return;
        }
        if (got <= 0) {
            lose();
            return;
        }
        frames.add({bytes.data(), static_cast<std::size_t>(got)});
        deliver();
    }
}

void SwaySocket::deliver()
{
    const auto current = generation;
    while (generation == current && socket) {
        const auto frame = frames.next();
        if (frame) {
            handle(*frame);
        } else {
            if (frames.isBroken()) {
                lose();
            }
            return;
        }
    }
}

void SwaySocket::handle(const SwayFrame& frame)
{
    const auto details = parsed(frame.payload);
    if (frame.isEvent()) {
        if (details.is_object()) {
            const auto current = observers; // one may come or go meanwhile
            for (const auto& weak : current) {
                if (const auto observer = weak.lock()) {
                    (*observer)(static_cast<SwayEvent>(frame.type), details);
                }
            }
        }
        return;
    }
    if (open.empty() || static_cast<std::uint32_t>(open.front().request) != frame.type ||
        details.is_discarded()) {
        lose(); // whose answer the next one is nobody knows any more
        return;
    }
    const auto question = std::move(open.front());
    open.pop_front();
    question.answer(&details);
}

void SwaySocket::lose()
{
    ++generation;
    // One of them may be calling us.
    for (auto* notifier : {readable.release(), writable.release()}) {
        if (notifier != nullptr) {
            notifier->setEnabled(false);
            notifier->deleteLater();
        }
    }
    socket.close();
    proof = nullptr;
    frames = {};
    outgoing.clear();
    again = loop.startTimer(retries.at(attempt), [this] { connect(); });
    attempt = std::min(attempt + 1, retries.size() - 1);
    isConnected.set(false);
    for (const auto& question : std::exchange(open, {})) {
        question.answer(nullptr);
    }
}

Subscription SwaySocket::observe(Observer observer)
{
    auto entry = std::make_shared<const Observer>(std::move(observer));
    std::erase_if(observers, [](const auto& each) { return each.expired(); });
    observers.push_back(entry);
    return entry;
}

bool SwaySocket::drain(std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (socket && !open.empty()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting{.fd = socket.number(), .events = POLLIN, .revents = 0};
        if (!outgoing.empty()) {
            waiting.events |= POLLOUT;
        }
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
            return false;
        }
        send();
        receive();
    }
    return open.empty();
}

} // namespace vorlin
