#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Ports/Workers.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace vorlin {

/// A person's way through the folders to the one they choose: that whose path stands in `typed`,
/// which is the one that is marked, else the one whose folders are listed, until they type another.
/// The disk is asked on patient threads only: one that hangs holds up nothing else. Main loop.
class FolderBrowser final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    Q_PROPERTY(QString current READ current NOTIFY listed)
    Q_PROPERTY(QStringList folders READ folders NOTIFY listed)
    Q_PROPERTY(QString note READ note NOTIFY listed)
    Q_PROPERTY(int marked READ marked WRITE mark NOTIFY markedChanged)
    Q_PROPERTY(QString typed READ typed WRITE type NOTIFY typedChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY problemChanged)

public:
    FolderBrowser(Workers& workers, MainLoop& loop) : workers(workers), loop(loop) {}

    /// Lists a folder, by its absolute path, and marks one of those in it if it is there.
    void list(const QString& path, const QString& toMark = {});

    /// The path of the folder that is listed.
    const QString& current() const { return path; }
    /// The names of the folders in it, in alphabetical order; none until the disk has answered.
    const QStringList& folders() const { return names; }
    /// Why none are listed; empty as long as that is not known.
    const QString& note() const { return reason; }
    /// The place of the marked folder in the list; -1 for none.
    int marked() const { return static_cast<int>(names.indexOf(markedName)); }
    void mark(int index);
    const QString& typed() const { return text; }
    void type(const QString& next);
    /// Why what was chosen cannot be; empty for nothing.
    const QString& problem() const { return trouble; }

    /// Goes into one of the folders.
    Q_INVOKABLE void open(int index);
    /// Goes to the folder around this one, and marks where one came from.
    Q_INVOKABLE void leave();
    /// Marks the next folder whose name begins so.
    Q_INVOKABLE void find(const QString& beginning);
    /// Looks again.
    Q_INVOKABLE void refresh();
    /// Lists hidden folders too, or no more.
    Q_INVOKABLE void toggleHidden();
    /// Chooses the typed path, "~" for the person's home: `chosen` follows if it is a folder.
    Q_INVOKABLE void choose();

Q_SIGNALS:
    void listed();
    void markedChanged();
    void typedChanged();
    void problemChanged();
    void chosen(const QString& path);

private:
    struct Listing {
        bool isReadable = false;
        QStringList folders;
    };

    static Listing look(const QString& path, bool withHidden);
    void show(const Listing& listing);
    void setTyped(const QString& next);
    void setProblem(const QString& next);

    Workers& workers;
    MainLoop& loop;
    QString path = "/";
    QStringList names;
    QString reason;
    QString markedName;
    QString text;
    QString trouble;
    bool withHidden = false;
    /// Of the latest look, and the latest choice; answers to earlier ones come too late.
    int looks = 0;
    int choices = 0;
    Lifetime lifetime;
};

} // namespace vorlin
