#include "Platform/Linux/Portal/ShortcutSession.h"

#include <QDBusObjectPath>

#include <array>
#include <utility>

namespace vorlin {

namespace {

constexpr std::array heardSignals{"Activated", "Deactivated", "ShortcutsChanged"};

} // namespace

ShortcutSession::ShortcutSession(const QDBusConnection& bus, const HostRegistry& registry,
                                 std::chrono::milliseconds patience, Callbacks callbacks)
    : bus(bus), registry(registry), callbacks(std::move(callbacks)), request(bus, &registry)
{
    registerPortalShortcuts();
    limit.setSingleShot(true);
    limit.setInterval(patience);
    connect(&limit, &QTimer::timeout, this, [this] {
        late = true;
        if (!binding.empty()) {
            this->callbacks.doubted(binding);
        }
        if (!isAbandoned || next) {
            this->callbacks.late();
        }
    });
    connect(&registry, &HostRegistry::gone, this, [this] {
        next = nullptr;
        if (isOpen()) {
            Q_EMIT orphaned(session);
        }
        end();
    });
}

ShortcutSession::~ShortcutSession()
{
    drop();
}

void ShortcutSession::open(WhenTold told)
{
    close();
    next = [this, told = std::move(told)] { create(told); };
    if (late) {
        callbacks.late(); // what is abandoned is still to be answered
    }
    goOn();
}

void ShortcutSession::create(WhenTold told)
{
    send("CreateSession", {}, {{"session_handle_token", portals::freshToken()}},
         [this, told = std::move(told)](const PortalAnswer& answer) {
             if (isOpen()) {
                 list(told);
             } else {
                 const bool missing = answer.end == PortalAnswer::End::refused;
                 told({missing ? ShortcutAnswer::End::missing : ShortcutAnswer::End::failed});
             }
         });
}

/// `answered` is called where it is wanted still.
void ShortcutSession::send(const QString& method, const QVariantList& arguments,
                           const QVariantMap& options, WhenAnswered answered)
{
    if (!isQuestion) {
        limit.start();
    }
    request.send(portals::shortcuts, method, arguments, options,
                 [this, method, answered = std::move(answered)](const PortalAnswer& answer) {
                     if (answer.end == PortalAnswer::End::gone) {
                         return; // the registry tells of it
                     }
                     limit.stop();
                     wasLate = std::exchange(late, false);
                     isQuestion = false;
                     adopted = false;
                     if (method == "CreateSession") {
                         session = portals::handle(answer, "session_handle");
                         listen(true);
                     }
                     if (isAbandoned) {
                         abandoned(answer);
                     } else {
                         answered(answer);
                     }
                 });
}

void ShortcutSession::abandoned(const PortalAnswer& answer)
{
    const bool isDecided = answer.code == 1 || (wasLate && !answer.succeeded());
    const bool isRefusal = answer.end == PortalAnswer::End::answered && isDecided &&
                           boundShortcuts(answer.results.value("shortcuts")).empty();
    const auto id = std::exchange(binding, {});
    if (isRefusal && !id.empty()) {
        callbacks.declined(id);
    } else if (wasLate && !id.empty()) {
        callbacks.kept(id);
    }
    drop();
    goOn();
}

void ShortcutSession::list(WhenTold told)
{
    send("ListShortcuts", {QVariant::fromValue(QDBusObjectPath(session))}, {},
         [told = std::move(told)](const PortalAnswer& answer) {
             const auto bound = boundShortcuts(answer.results.value("shortcuts"));
             const bool known = answer.succeeded() || !bound.empty();
             told({known ? ShortcutAnswer::End::told : ShortcutAnswer::End::failed, bound});
         });
}

void ShortcutSession::bind(const WantedShortcut& wanted, Question question, WhenTold told)
{
    QVariantMap properties{{"description", QString::fromStdString(wanted.description)}};
    if (!wanted.trigger.empty()) {
        properties.insert("preferred_trigger", QString::fromStdString(wanted.trigger));
    }
    const PortalShortcuts list{{QString::fromStdString(wanted.id), properties}};
    isQuestion = question == Question::allowed;
    binding = wanted.id;
    send("BindShortcuts",
         {QVariant::fromValue(QDBusObjectPath(session)), QVariant::fromValue(list), QString()}, {},
         [this, told = std::move(told)](const PortalAnswer& answer) {
             binding.clear();
             const auto bound = boundShortcuts(answer.results.value("shortcuts"));
             // Some give the key and call it a failure.
             const bool decided =
                 answer.end == PortalAnswer::End::answered && (answer.code <= 1 || wasLate);
             if (answer.succeeded() && bound.empty()) {
                 this->list(told); // some only say that it went well
             } else {
                 // Where it was late the person was asked, and would be asked again.
                 const bool known = decided || !bound.empty();
                 told({known ? ShortcutAnswer::End::told : ShortcutAnswer::End::failed, bound});
             }
         });
}

void ShortcutSession::close()
{
    next = nullptr;
    if (request.isPending() && !isQuestion) {
        isAbandoned = true;
    } else {
        drop();
    }
}

void ShortcutSession::giveUp()
{
    if (!binding.empty() && !isQuestion) {
        close();
        return;
    }
    forsake();
}

void ShortcutSession::forsake()
{
    next = nullptr;
    if (request.isPending() && !isOpen()) {
        request.leaveSession();
    }
    drop();
}

bool ShortcutSession::adopt(const std::string& id)
{
    if (!late || binding.empty() || binding != id) {
        return false;
    }
    next = nullptr;
    late = false;
    isQuestion = true;
    adopted = true;
    isAbandoned = false;
    return true;
}

void ShortcutSession::drop()
{
    request.close();
    if (isOpen()) {
        portals::closeSession(bus, registry.portal(), session);
    }
    end();
}

/// No session is left.
void ShortcutSession::end()
{
    request.forget();
    limit.stop();
    listen(false);
    session.clear();
    binding.clear();
    late = false;
    isQuestion = false;
    adopted = false;
    isAbandoned = false;
}

void ShortcutSession::goOn()
{
    if (!isAbandoned) {
        if (const auto wanted = std::exchange(next, nullptr)) {
            wanted();
        }
    }
}

/// By the name of no sender, which Qt would wait to learn the owner of.
void ShortcutSession::listen(bool on)
{
    if (!isOpen()) {
        return;
    }
    const auto change = [&](const QString& path, const QString& interface, const QString& name,
                            const char* slot) {
        if (on) {
            bus.connect({}, path, interface, name, this, slot);
        } else {
            bus.disconnect({}, path, interface, name, this, slot);
        }
    };
    for (const auto* name : heardSignals) {
        change(portals::path, portals::shortcuts, name, SLOT(heard(QDBusMessage)));
    }
    change(session, portals::sessionInterface, "Closed", SLOT(closed(QDBusMessage)));
}

void ShortcutSession::heard(const QDBusMessage& message)
{
    const auto arguments = message.arguments();
    if (message.service() != registry.portal() || arguments.size() < 2 || !isOpen() ||
        isAbandoned || arguments[0].value<QDBusObjectPath>().path() != session) {
        return;
    }
    if (message.member() == "ShortcutsChanged") {
        callbacks.changed(boundShortcuts(arguments[1]));
    } else if (message.member() == "Activated") {
        callbacks.activated(arguments[1].toString().toStdString(),
                            arguments.value(2).toULongLong());
    } else {
        callbacks.deactivated(arguments[1].toString().toStdString());
    }
}

void ShortcutSession::closed(const QDBusMessage& message)
{
    if (message.service() != registry.portal() || message.path() != session) {
        return;
    }
    const bool wanted = !isAbandoned;
    const auto id = late ? binding : std::string();
    end();
    if (!id.empty()) {
        callbacks.declined(id); // the person was asked, and would be asked again
    }
    if (wanted) {
        callbacks.ended(!id.empty());
    } else {
        goOn();
    }
}

} // namespace vorlin
