#include "Platform/Linux/Wayland/PrivateCompositor.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

namespace vorlin {

namespace {

void endWithParent(QProcess& process)
{
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

} // namespace

PrivateCompositor::PrivateCompositor(const QString& configuration)
{
    qputenv("XDG_RUNTIME_DIR", folder.path().toLocal8Bit());
    qputenv("WLR_BACKENDS", "headless");
    qputenv("WLR_RENDERER", "pixman");
    qputenv("WLR_LIBINPUT_NO_DEVICES", "1");
    qputenv("XDG_SESSION_TYPE", "wayland");
    qunsetenv("WAYLAND_DISPLAY");
    qunsetenv("DISPLAY");
    qunsetenv("SWAYSOCK");
    QFile file(path("config"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(
        "output * resolution 1280x800\ndefault_border none\nfocus_on_window_activation focus\n");
    file.write("exec sh -c 'echo $WAYLAND_DISPLAY $DISPLAY $SWAYSOCK > " + path("new").toUtf8() +
               " && mv " + path("new").toUtf8() + " " + path("names").toUtf8() + "'\n");
    file.write(configuration.toUtf8() + "\n");
    file.close();
    endWithParent(process);
    process.setStandardErrorFile(path("log"));
    QStringList command{"sway", "-c", path("config")};
    if (getuid() == 0) { // it refuses to run as one who could become root again
        command = QStringList{"unshare", "--user", "--map-user=1", "--map-group=1"} + command;
    }
    process.start(command.front(), command.mid(1));
    EXPECT_TRUE(runUntil([this] { return QFile::exists(path("names")); }));
    QFile names(path("names"));
    EXPECT_TRUE(names.open(QIODevice::ReadOnly));
    const auto words = QString::fromUtf8(names.readAll()).split(' ', Qt::SkipEmptyParts);
    EXPECT_EQ(words.size(), 3);
    qputenv("WAYLAND_DISPLAY", words.value(0).trimmed().toUtf8());
    qputenv("DISPLAY", words.value(1).trimmed().toUtf8());
    qputenv("SWAYSOCK", words.value(2).trimmed().toUtf8());
}

PrivateCompositor::~PrivateCompositor()
{
    kill();
}

void PrivateCompositor::kill()
{
    process.kill();
    process.waitForFinished();
}

QByteArray PrivateCompositor::output(const QStringList& command, const QByteArray& input)
{
    QProcess run;
    endWithParent(run);
    run.start(command.front(), command.mid(1));
    run.write(input);
    run.closeWriteChannel();
    EXPECT_TRUE(runUntil([&run] { return run.state() == QProcess::NotRunning; }))
        << command.front().toStdString();
    return run.readAllStandardOutput();
}

SessionProgram::SessionProgram(const QStringList& command)
{
    endWithParent(process);
    process.start(command.front(), command.mid(1));
    EXPECT_TRUE(process.waitForStarted()) << command.front().toStdString();
}

SessionProgram::~SessionProgram()
{
    process.kill();
    process.waitForFinished();
}

const QByteArray& SessionProgram::written()
{
    received += process.readAllStandardOutput();
    return received;
}

Person::Person(const QString& layout) : program({WAYLAND_PERSON, layout})
{
    EXPECT_TRUE(runUntil([this] { return program.written().count('\n') == answers; }));
}

void Person::tell(const QString& command)
{
    program.write(command.toUtf8() + "\n");
    ++answers;
    EXPECT_TRUE(runUntil([this] { return program.written().count('\n') == answers; }));
}

} // namespace vorlin
