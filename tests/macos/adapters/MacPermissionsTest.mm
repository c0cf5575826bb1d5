#include "Platform/macOS/MacPermissions.h"

#include "Permissions.h"
#include "Recorder.h"
#include "Runtime.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

class MacPermissionsTest : public testing::Test {
protected:
    MacPermissionsTest() { standins::permissions() = {}; }
    ~MacPermissionsTest() override { standins::permissions() = {}; }

    SimulatedLoop loop;
    MacPermissions permissions{loop};
};

TEST_F(MacPermissionsTest, whetherTheProcessIsTrustedIsAskedWithoutAPrompt)
{
    EXPECT_FALSE(permissions.isTrusted());
    standins::permissions().isTrusted = true;
    EXPECT_TRUE(permissions.isTrusted());
    EXPECT_EQ(taken(), (Calls{"AXIsProcessTrusted", "AXIsProcessTrusted"}));
}

TEST_F(MacPermissionsTest, theSystemPromptsForTrustWhenItIsToldToAndNothingIsLeftBehind)
{
    const long before = standins::alive();
    @autoreleasepool {
        permissions.promptForTrust();
    }
    EXPECT_EQ(taken(), (Calls{"AXIsProcessTrustedWithOptions AXTrustedCheckOptionPrompt=YES"}));
    EXPECT_EQ(standins::alive(), before);
}

TEST_F(MacPermissionsTest, theMicrophoneIsGrantedOnlyByAGrantAndAnsweredByADenialToo)
{
    EXPECT_FALSE(permissions.microphoneGranted());
    EXPECT_FALSE(permissions.microphoneAnswered());
    standins::permissions().record = AVAudioApplicationRecordPermissionDenied;
    EXPECT_FALSE(permissions.microphoneGranted());
    EXPECT_TRUE(permissions.microphoneAnswered());
    standins::permissions().record = AVAudioApplicationRecordPermissionGranted;
    EXPECT_TRUE(permissions.microphoneGranted());
    EXPECT_TRUE(permissions.microphoneAnswered());
    EXPECT_EQ(taken(), Calls(6, "-[AVAudioApplication recordPermission]"));
}

TEST_F(MacPermissionsTest, theKeyboardIsSecuredWhileTheSystemSaysSo)
{
    EXPECT_FALSE(permissions.isKeyboardSecured());
    standins::permissions().isKeyboardSecured = true;
    EXPECT_TRUE(permissions.isKeyboardSecured());
    EXPECT_EQ(taken(), Calls(2, "IsSecureEventInputEnabled"));
}

TEST_F(MacPermissionsTest, theAnswerAboutTheMicrophoneComesFromAThreadAndIsToldFromTheLoop)
{
    const auto main = std::this_thread::get_id();
    int answers = 0;
    permissions.onMicrophoneAnswer = [&] {
        ++answers;
        EXPECT_EQ(std::this_thread::get_id(), main);
    };
    permissions.requestMicrophone();
    EXPECT_EQ(taken(),
              (Calls{"+[AVAudioApplication requestRecordPermissionWithCompletionHandler:]"}));
    standins::answerAboutTheMicrophone(true);
    EXPECT_EQ(answers, 0);
    loop.runReady();
    EXPECT_EQ(answers, 1);
}

TEST(MacPermissionsEndTest, anAnswerThatWaitsOrComesOnceItIsGoneIsToldToNobody)
{
    SimulatedLoop loop;
    int answers = 0;
    auto permissions = std::make_unique<MacPermissions>(loop);
    permissions->onMicrophoneAnswer = [&answers] { ++answers; };
    permissions->requestMicrophone();
    standins::answerAboutTheMicrophone(true);
    permissions->requestMicrophone();
    permissions.reset();
    loop.runReady();
    standins::answerAboutTheMicrophone(false);
    loop.runReady();
    EXPECT_EQ(answers, 0);
    standins::permissions() = {};
}

} // namespace
} // namespace vorlin
