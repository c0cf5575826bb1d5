#pragma once

#include "Async/Published.h"
#include "Platform/Linux/Portal/HostRegistry.h"
#include "Platform/Linux/Portal/PortalMemory.h"
#include "Platform/Linux/Portal/PortalRequest.h"
#include "Platform/Linux/Portal/PortalStrokes.h"
#include "Ports/KeyPoster.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace vorlin {

/// Presses keys through org.freedesktop.portal.RemoteDesktop. The person is asked once, and what
/// the portal gives for it then opens each later session without a question. A session is open
/// from `prepare` to `rest` only: the desktop shows the person one that is. Main loop; waits for
/// nothing but, at its end, for keys that are down to be let go.
///
/// A key goes by its place where that is known, else by what it types, which a desktop finds in
/// the layout in use only, or in the first. A desktop may add to a chord the modifiers that the
/// person holds.
class RemoteDesktopPoster final : public QObject, public KeyPoster {
    Q_OBJECT

public:
    /// What is known of the portal.
    enum class Access {
        unknown,
        missing,
        unasked,
        refused,
        granted,
    };

    /// The place of a key of that virtual key code, as the kernel numbers it, in whichever layout
    /// is in use; nothing where that is not the same in all.
    using Places = std::function<std::optional<std::uint32_t>(std::uint16_t keyCode)>;

    /// All must outlive this object; `registry` is the one of the same connection. A session that
    /// needs no question opens within `patience`; else the desktop is busy, or asks the person:
    /// nobody waits for it any more, and what it answers later counts.
    RemoteDesktopPoster(const QDBusConnection& bus, const HostRegistry& registry,
                        PortalMemory& memory, Places places,
                        std::chrono::milliseconds patience = std::chrono::seconds(5));
    ~RemoteDesktopPoster() override;

    void prepare() override;
    void rest() override;
    KeyReadiness readiness() const override;
    void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) override;

    /// Lets the desktop ask the person, unless it was allowed already and opens; `answered` is
    /// called once that is settled. A later call takes the place of an earlier one, and the
    /// portals' end takes it back: neither is answered.
    void ask(std::function<void()> answered);

    const Published<Access, RemoteDesktopPoster>& access() const { return allowed; }

    /// Whether a session still does not open that should have been open.
    bool isLate() const { return late; }

    /// Called right before a key goes out that is posted down, once its modifiers are.
    std::function<void()> onChord;

Q_SIGNALS:
    /// The portals are gone and have left behind this session, perhaps with keys that are down.
    void orphaned(const QString& session);

private Q_SLOTS:
    void closed(const QDBusMessage& message);

private:
    /// While it starts the desktop may ask the person; what was to spare them that is spent then.
    enum class Stage { closed, opening, starting, open };

    void look();
    void remember();
    void open();
    void selectDevices();
    void startSession();
    void started(const PortalAnswer& answer);
    void doubt();
    void refuse(const PortalAnswer& answered);
    void lapse(PortalConsent consent);
    void fail(const PortalAnswer& answered);
    void close();
    void forget();
    void listen(bool on);
    std::optional<PortalStroke> strokeFor(std::uint16_t keyCode) const;
    void answer();

    QDBusConnection bus;
    const HostRegistry& registry;
    PortalMemory& memory;
    Places places;
    PortalRequest request;
    Stage stage = Stage::closed;
    QString session;
    std::function<void()> whenAnswered;
    /// Whether a session is wanted, between `prepare` and `rest`.
    bool isWanted = false;
    /// Until a session that is still not open is late.
    QTimer limit;
    bool late = false;
    /// What a session that is late was opened with: whoever starts after us would ask the person
    /// with it, and does not find it.
    std::optional<std::string> doubted;
    PortalStrokes strokes;
    Published<Access, RemoteDesktopPoster> allowed{Access::unknown};
};

} // namespace vorlin
