#include "Platform/Linux/Portal/BusSocket.h"

#include "Platform/Shared/Descriptor.h"

#include <QByteArray>

#include <sys/socket.h>
#include <sys/un.h>

#include <string_view>

namespace vorlin {

namespace {

constexpr std::string_view inTheFileSystem = "unix:path=";

/// The file of the socket that an address names first; empty when it is no such address.
std::string socketFile(const std::string& address)
{
    if (!address.starts_with(inTheFileSystem)) {
        return {};
    }
    const auto rest = address.substr(inTheFileSystem.size());
    return QByteArray::fromPercentEncoding(
               QByteArray::fromStdString(rest.substr(0, rest.find_first_of(",;"))))
        .toStdString();
}

/// Whether a bus behind this socket greets.
bool greets(const std::string& file)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (file.empty() || file.size() >= sizeof address.sun_path) {
        return false;
    }
    file.copy(static_cast<char*>(address.sun_path), file.size());
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // Asks which ways to prove oneself there are.
    constexpr std::string_view question("\0AUTH\r\n", 7);
    char answer = 0;
    return ::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address),
                     sizeof address) == 0 &&
           ::send(socket.number(), question.data(), question.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(question.size()) &&
           ::recv(socket.number(), &answer, 1, 0) == 1;
}

} // namespace

std::optional<QDBusConnection> openBus(const std::string& address, const QString& name)
{
    if (!greets(socketFile(address))) {
        return std::nullopt;
    }
    const auto bus = QDBusConnection::connectToBus(QString::fromStdString(address), name);
    return bus.isConnected() ? std::optional(bus) : std::nullopt;
}

} // namespace vorlin
