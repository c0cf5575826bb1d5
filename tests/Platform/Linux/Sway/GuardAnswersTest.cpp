#include "Platform/Linux/Keys/SwayLedger.h"

#include "Platform/Linux/Sway/PlayedSway.h"
#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QProcess>

#include <filesystem>

namespace vorlin {
namespace {

/// What the guard makes of a sway that does not do as it is told.
class GuardAnswersTest : public testing::Test {
protected:
    /// The guard of a program that ends at once, until it has gone, too.
    void runGuard()
    {
        ASSERT_TRUE(mine.write(path()));
        QProcess guard;
        guard.start(GUARD_PROGRAM,
                    {QString::fromStdString(sway.path()), QString::fromStdString(path().string()),
                     QString::fromStdString(mine.token)});
        ASSERT_TRUE(guard.waitForStarted());
        guard.closeWriteChannel();
        ASSERT_TRUE(runUntil([&] { return guard.state() == QProcess::NotRunning; }));
    }

    std::filesystem::path path() const { return sway.path() + ".ledger"; }

    static bool isCommand(const PlayedSway::Request& request)
    {
        return request.type == static_cast<std::uint32_t>(SwayRequest::runCommand);
    }

    PlayedSway sway;
    const SwayLedger mine{"vorlin-mine", {{"default", {{75, 0, false}}}}};
};

TEST_F(GuardAnswersTest, whatIsDoneIsForgotten)
{
    runGuard();
    EXPECT_EQ(sway.commands().size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(GuardAnswersTest, whatSwayDidNotAnswerTheNextStartFinds)
{
    const auto usual = sway.answer;
    sway.answer = [&](const PlayedSway::Request& request) -> std::optional<std::string> {
        if (isCommand(request)) {
            sway.hangUp();
            return std::nullopt;
        }
        return usual(request);
    };
    runGuard();
    const auto left = SwayLedger::read(path());
    ASSERT_TRUE(left);
    EXPECT_EQ(left->bindings, mine.bindings);
}

TEST_F(GuardAnswersTest, whatALaterProgramWroteBeforeTheAnswerStays)
{
    const SwayLedger later{"vorlin-later", {{"work", {{76, 0, false}}}}};
    const auto usual = sway.answer;
    sway.answer = [&](const PlayedSway::Request& request) {
        if (isCommand(request)) {
            EXPECT_TRUE(later.write(path()));
        }
        return usual(request);
    };
    runGuard();
    const auto left = SwayLedger::read(path());
    ASSERT_TRUE(left);
    EXPECT_EQ(left->token, later.token);
    EXPECT_EQ(left->bindings, later.bindings);
}

} // namespace
} // namespace vorlin
