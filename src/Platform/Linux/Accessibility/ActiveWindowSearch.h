#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariant>
#include <QVariantList>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {

/// A window as its program describes it.
struct ActiveWindow {
    /// The window, among all that there ever are on this bus.
    std::string id;
    /// What the program calls itself.
    std::string programName;
    /// The file that its process runs; empty where the system does not tell.
    std::string executable;
};

/// Asks every program on the accessibility bus, once, whether a window of its own is active. Nobody
/// is made to tell anything by itself, nor started.
///
/// The answer is certain or none: there is a window where every program has answered in time and in
/// a way that can be understood, and only one window is active. A program that is not on this bus
/// has the focus where none is. Main loop; waits for nothing.
class ActiveWindowSearch final : public QObject {
    Q_OBJECT

public:
    using WhenDone = std::function<void(const std::optional<ActiveWindow>&)>;

    /// Begins at once; `whenDone` is called once, from the loop, within `patience`.
    ActiveWindowSearch(const QDBusConnection& bus, std::chrono::milliseconds patience,
                       WhenDone whenDone);

    /// Tells nobody any more.
    void abandon();

private:
    /// An object of a program on the bus.
    struct Object {
        QString program;
        QString path;
    };
    struct Active {
        Object root;
        ActiveWindow window;
    };
    /// Reads an answer; false where it makes no sense.
    using Read = std::function<bool(const QVariant&)>;

    std::optional<std::vector<Object>> objects(const QVariant& list);

    void askForPrograms();
    void askForWindows(const Object& root);
    void askForState(const Object& root, const Object& window);
    void askWhoTheyAre();
    void ask(const Object& whom, const QString& interface, const QString& method,
             const QVariantList& arguments, const QString& signature, Read read);
    void answered(const QDBusMessage& reply, const QString& signature, const Read& read);
    void conclude();
    void finish(const std::optional<ActiveWindow>& found);

    QDBusConnection bus;
    const std::chrono::milliseconds patience;
    WhenDone whenDone;
    QTimer limit;
    /// Questions without an answer.
    int open = 0;
    bool areNamed = false;
    /// Programs and windows.
    std::size_t listed = 0;
    std::vector<Active> active;
};

} // namespace vorlin
