#include "Platform/macOS/MacLoginItem.h"

#include "Platform/Contracts/LoginItemContract.h"
#include "Recorder.h"
#include "SMAppService.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

struct MacSystem {
    MacSystem() { standins::loginItems() = {}; }
    ~MacSystem() { standins::loginItems() = {}; }
    MacSystem(const MacSystem&) = delete;
    MacSystem& operator=(const MacSystem&) = delete;

    static MacLoginItem item() { return {}; }
    static void refuse()
    {
        standins::loginItems().refusal =
            [NSError errorWithDomain:@"SMAppServiceErrorDomain"
                                code:1
                            userInfo:@{NSLocalizedDescriptionKey : @"Not permitted\nmore"}];
    }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, LoginItemContract, MacSystem);

class MacLoginItemTest : public testing::Test {
protected:
    MacLoginItemTest() { standins::loginItems() = {}; }
    ~MacLoginItemTest() override { standins::loginItems() = {}; }

    MacLoginItem item;
};

TEST_F(MacLoginItemTest, isEnabledWhenTheSystemSaysThatTheProgramIsAndNotWhenItWaitsForApproval)
{
    const std::pair<SMAppServiceStatus, bool> expected[] = {
        {SMAppServiceStatusNotRegistered, false},
        {SMAppServiceStatusEnabled, true},
        {SMAppServiceStatusRequiresApproval, false},
        {SMAppServiceStatusNotFound, false},
    };
    for (const auto& [status, enabled] : expected) {
        standins::loginItems().status = status;
        EXPECT_EQ(item.isEnabled(), enabled) << status;
        EXPECT_EQ(taken(), (Calls{"+[SMAppService mainAppService]", "-[SMAppService status]"}));
    }
}

TEST_F(MacLoginItemTest, registersTheMainProgramToEnableItAndUnregistersItToDisableIt)
{
    item.setEnabled(true);
    EXPECT_EQ(taken(),
              (Calls{"+[SMAppService mainAppService]", "-[SMAppService registerAndReturnError:]"}));
    EXPECT_TRUE(item.isEnabled());
    taken();
    item.setEnabled(false);
    EXPECT_EQ(taken(), (Calls{"+[SMAppService mainAppService]",
                              "-[SMAppService unregisterAndReturnError:]"}));
    EXPECT_FALSE(item.isEnabled());
}

TEST_F(MacLoginItemTest, throwsTheFirstLineOfWhatTheSystemSaysWhenItRefuses)
{
    standins::loginItems().refusal =
        [NSError errorWithDomain:@"SMAppServiceErrorDomain"
                            code:1
                        userInfo:@{NSLocalizedDescriptionKey : @"Operation not permitted\nmore"}];
    for (const bool enabled : {true, false}) {
        try {
            item.setEnabled(enabled);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Operation not permitted");
        }
        EXPECT_FALSE(item.isEnabled());
    }
}

} // namespace
} // namespace vorlin
