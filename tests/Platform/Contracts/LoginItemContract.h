#pragma once

#include "Ports/LoginItem.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace vorlin {

/// What the login item of every desktop does. `Desktop` has one, `item()`, anew for each program
/// that starts, and lets the system `refuse()` every change. The person has not switched it on yet.
template <class Desktop>
class LoginItemContract : public testing::Test {
protected:
    Desktop desktop;
};

TYPED_TEST_SUITE_P(LoginItemContract);

TYPED_TEST_P(LoginItemContract, itIsOffUntilSwitchedOnAndOffAgainAfterwards)
{
    auto item = this->desktop.item();
    EXPECT_FALSE(item.isEnabled());
    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
    EXPECT_TRUE(this->desktop.item().isEnabled()) << "the next program's";
    item.setEnabled(false);
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(this->desktop.item().isEnabled());
}

TYPED_TEST_P(LoginItemContract, aRefusalIsToldInOneLineAndChangesNothing)
{
    auto item = this->desktop.item();
    this->desktop.refuse();
    try {
        item.setEnabled(true);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        const std::string line = error.what();
        EXPECT_FALSE(line.empty());
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
    EXPECT_FALSE(item.isEnabled());
}

REGISTER_TYPED_TEST_SUITE_P(LoginItemContract, itIsOffUntilSwitchedOnAndOffAgainAfterwards,
                            aRefusalIsToldInOneLineAndChangesNothing);

} // namespace vorlin
