#pragma once

#include "Platform/Linux/Portal/HostRegistry.h"
#include "Platform/Linux/Portal/PortalRequest.h"
#include "Platform/Linux/Portal/PortalShortcut.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace vorlin {

/// A key that a program asks the desktop to be told of.
struct WantedShortcut {
    /// Which one it is to the desktop, which remembers by it what the person decided.
    std::string id;
    /// What the person reads.
    std::string description;
    /// As the desktops' common specification of shortcuts writes keys: "CTRL+ALT+d"; empty: the
    /// person chooses it in the desktop.
    std::string trigger;

    bool operator==(const WantedShortcut&) const = default;
};

/// What the desktop says of the keys of a session.
struct ShortcutAnswer {
    enum class End {
        /// `bound` is what it says.
        told,
        /// The desktop has no such portal.
        missing,
        /// It went wrong: nobody has decided anything.
        failed,
    };
    End end = End::failed;
    BoundShortcuts bound = {};
};

/// One session of org.freedesktop.portal.GlobalShortcuts: tells of the press and the release of
/// the keys that were bound in it. Main loop; waits for nothing.
///
/// What is asked of the desktop without a question to the person is let come to its end, also where
/// it is not wanted any more, and undone then: a desktop may leave keys bound for good whose
/// session ends before that.
class ShortcutSession final : public QObject {
    Q_OBJECT

public:
    struct Callbacks {
        /// `timestamp` is the desktop's time of it, in ms since some moment; 0 where it tells none.
        std::function<void(const std::string& id, std::uint64_t timestamp)> activated;
        std::function<void(const std::string& id)> deactivated;
        /// The person chose other keys in the desktop's settings.
        std::function<void(const BoundShortcuts&)> changed;
        /// The desktop ended the session; `declined` was called just before where it did so with a
        /// question of its own.
        std::function<void(bool declined)> ended;
        /// What asks nobody is not answered within the patience: the desktop is busy, or asks the
        /// person all the same. An answer that comes later counts.
        std::function<void()> late;
        /// That is a key which is being bound, wanted or not any more: the person may be asked for
        /// it, for as long as neither of the next two is called, or `bind` answers.
        std::function<void(const std::string& id)> doubted;
        /// It was bound, or failed without a question, and is not wanted any more.
        std::function<void(const std::string& id)> kept;
        /// The desktop would ask the person for a key that nobody was to be asked for: they said
        /// no, and it is not wanted any more, or its question ended without an answer.
        std::function<void(const std::string& id)> declined;
    };
    using WhenTold = std::function<void(const ShortcutAnswer&)>;
    /// Whether the person, who wished it, may be asked, and is waited for.
    enum class Question { none, allowed };

    /// `registry` must outlive this object and be the one of the same connection.
    ShortcutSession(const QDBusConnection& bus, const HostRegistry& registry,
                    std::chrono::milliseconds patience, Callbacks callbacks);
    ~ShortcutSession() override;

    /// Makes a session, in place of one that is open, and asks what is bound in it already. Asks
    /// the person nothing. Where the portals go, nothing is told.
    void open(WhenTold told);

    /// Binds one key in the open session, and tells what is bound then. A desktop may take only one
    /// such call a session. One that asks nobody, is late, and fails then, has nothing bound: it
    /// would ask the person again.
    void bind(const WantedShortcut& wanted, Question question, WhenTold told);

    /// Gives the keys back. No callback but the three on single keys comes from then on.
    void close();

    /// The same, and waits for no answer that is still to come, but for a key that is being bound:
    /// some desktops bind it for good, and take no dialog back.
    void giveUp();

    /// The same, whatever is still to come: whoever was to answer is gone, or the person says that
    /// they are asked nothing.
    void forsake();

    /// Where `id` is being bound, and late: has that be the question that the person wishes, and is
    /// waited for. `bind` answers then, also where it was given back. Returns whether it is so.
    bool adopt(const std::string& id);

    /// Whether that was done, and is still to be answered.
    bool isAdopted() const { return adopted; }

    /// Whether an answer is still to come that should have been here.
    bool isLate() const { return late; }

Q_SIGNALS:
    /// The portals went while this session was open: who served it may have it still.
    void orphaned(const QString& session);

private Q_SLOTS:
    void heard(const QDBusMessage& message);
    void closed(const QDBusMessage& message);

private:
    using WhenAnswered = std::function<void(const PortalAnswer&)>;

    bool isOpen() const { return !session.isEmpty(); }
    void create(WhenTold told);
    void send(const QString& method, const QVariantList& arguments, const QVariantMap& options,
              WhenAnswered answered);
    void list(WhenTold told);
    void abandoned(const PortalAnswer& answer);
    void listen(bool on);
    void drop();
    void end();
    void goOn();

    QDBusConnection bus;
    const HostRegistry& registry;
    Callbacks callbacks;
    PortalRequest request;
    /// The session's object; empty while none is open.
    QString session;
    /// What is being bound; empty while nothing is.
    std::string binding;
    /// Until what asks nobody is late.
    QTimer limit;
    bool late = false;
    /// Whether the latest answer was.
    bool wasLate = false;
    /// The person is, or may be, asked: that is not waited for.
    bool isQuestion = false;
    /// The question is the desktop's own.
    bool adopted = false;
    /// What is on its way is not wanted any more.
    bool isAbandoned = false;
    /// Opens the session that is wanted once what was abandoned is gone.
    std::function<void()> next;
};

} // namespace vorlin
