#pragma once

#include "Platform/RunUntil.h"

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vorlin {

/// A compositor without a screen, in a session of its own: this process's environment names it for
/// as long as it lives.
class PrivateCompositor {
public:
    /// `configuration` is what its configuration says besides.
    explicit PrivateCompositor(const QString& configuration = {});
    PrivateCompositor(const PrivateCompositor&) = delete;
    PrivateCompositor& operator=(const PrivateCompositor&) = delete;
    ~PrivateCompositor();

    qint64 pid() const { return process.processId(); }
    /// Ends it as a crash does.
    void kill();

    /// A path in a folder that goes with it.
    QString path(const QString& name) const { return folder.filePath(name); }

    /// Runs a command to its end; what it wrote.
    QByteArray output(const QStringList& command, const QByteArray& input = {});

private:
    QTemporaryDir folder;
    QProcess process;
};

/// A program in that session, ended with this object.
class SessionProgram {
public:
    explicit SessionProgram(const QStringList& command);
    SessionProgram(const SessionProgram&) = delete;
    SessionProgram& operator=(const SessionProgram&) = delete;
    ~SessionProgram();

    qint64 pid() const { return process.processId(); }
    bool runs() const { return process.state() != QProcess::NotRunning; }
    /// What it has written so far.
    const QByteArray& written();
    void write(const QByteArray& text) { process.write(text); }

private:
    QProcess process;
    QByteArray received;
};

/// A person at a keyboard of their own there.
class Person {
public:
    explicit Person(const QString& layout = "us");
    /// By the kernel's number of the key.
    void press(int key) { tell(QString("press %1").arg(key)); }
    void release(int key) { tell(QString("release %1").arg(key)); }

private:
    void tell(const QString& command);
    SessionProgram program;
    qsizetype answers = 1;
};

} // namespace vorlin
