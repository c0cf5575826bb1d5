#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"

#include "Platform/Linux/Wayland/PrivateCompositor.h"
#include "Platform/Shared/QtMainLoop.h"

#include <QFile>

#include <csignal>

namespace vorlin {

namespace {

QByteArray field(const QByteArray& bytes)
{
    const auto size = static_cast<std::uint64_t>(bytes.size());
    return QByteArray(reinterpret_cast<const char*>(&size), sizeof size) + bytes;
}

class Keeper : public testing::Test {
protected:
    Keeper()
    {
        std::signal(SIGPIPE, SIG_IGN);
        QFile file(compositor.path("kept"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(field("text/html") + field("<b>kept</b>"));
    }

    QStringList keeper() const
    {
        return {"sh", "-c", "exec " + QString(KEEPER) + " < " + compositor.path("kept")};
    }

    /// Lets another program take the clipboard.
    void copied(const std::string& type, const std::string& text)
    {
        pasteboard.replace(PasteSource::clipboard, {{{type, {text.begin(), text.end()}}}});
    }

    QByteArray pasted(const QString& type)
    {
        return compositor.output({"wl-paste", "--no-newline", "--type", type});
    }

    PrivateCompositor compositor;
    Person person;
    QtMainLoop loop;
    WaylandConnection connection;
    DataControlPasteboard pasteboard{connection, loop, [] { return std::nullopt; }};
};

} // namespace

TEST_F(Keeper, offersWhatItWasGivenUntilAnotherProgramCopies)
{
    SessionProgram kept(keeper());
    EXPECT_TRUE(runUntil([&] { return pasted("text/html") == "<b>kept</b>"; }));
    copied("text/plain", "another");
    EXPECT_TRUE(runUntil([&] { return !kept.runs(); }));
    EXPECT_EQ(pasted("text/plain"), "another");
}

TEST_F(Keeper, takesOverFromTheProgramThatStartedIt)
{
    copied("text/html", "<b>kept</b>");
    const SessionProgram kept(keeper());
    EXPECT_TRUE(runUntil(
        [&] { return pasteboard.use(PasteSource::clipboard) == PasteboardUse::replaced; }));
    EXPECT_EQ(pasted("text/html"), "<b>kept</b>");
}

TEST_F(Keeper, leavesWhatAnotherProgramHasCopiedMeanwhile)
{
    copied("text/plain", "another");
    compositor.output(keeper()); // it ends at once
    EXPECT_EQ(pasted("text/plain"), "another");
}

TEST_F(Keeper, endsWhereNoCompositorAnswers)
{
    compositor.kill();
    compositor.output(keeper());
}

} // namespace vorlin
