#pragma once

#include "Ports/Defaults.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// What every store of settings does. `Desktop` has one such store: its `open()` gives an object
/// on it, as a program that starts makes one, and its `settle()` lets what is under way end.
template <class Desktop>
class DefaultsContract : public testing::Test {
protected:
    Desktop desktop;
};

TYPED_TEST_SUITE_P(DefaultsContract);

TYPED_TEST_P(DefaultsContract, whatWasNeverStoredIsNotThere)
{
    const auto defaults = this->desktop.open();
    EXPECT_EQ(defaults->value("sounds"), std::nullopt);
}

TYPED_TEST_P(DefaultsContract, eachKindOfValueIsReadAsItWasStored)
{
    const std::vector<DefaultsValue> values = {true,          false,
                                               0.0,           1.0,
                                               56.0,          -1.5,
                                               std::string(), std::string("toggle ü…"),
                                               Bytes(),       Bytes{0, 1, 0xFF}};
    const auto defaults = this->desktop.open();
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto key = "key." + std::to_string(i);
        defaults->set(key, values[i]);
        EXPECT_EQ(defaults->value(key), values[i]) << i;
    }
    this->desktop.settle();
    const auto later = this->desktop.open();
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(later->value("key." + std::to_string(i)), values[i]) << i;
    }
}

TYPED_TEST_P(DefaultsContract, theLastValueOfAKeyIsReadUntilItIsRemoved)
{
    const auto defaults = this->desktop.open();
    defaults->set("a", std::string("1"));
    defaults->set("a", 2.0);
    EXPECT_EQ(defaults->value("a"), DefaultsValue(2.0));
    defaults->set("a", std::nullopt);
    EXPECT_EQ(defaults->value("a"), std::nullopt);
    this->desktop.settle();
    EXPECT_EQ(this->desktop.open()->value("a"), std::nullopt);
}

TYPED_TEST_P(DefaultsContract, onlyTheVeryFirstStartMakesTheStore)
{
    {
        const auto first = this->desktop.open();
        EXPECT_TRUE(first->create());
        EXPECT_FALSE(first->create());
        this->desktop.settle();
    }
    EXPECT_FALSE(this->desktop.open()->create());
}

TYPED_TEST_P(DefaultsContract, observersHearOfEachChangeOnceForAsLongAsTheyAreKept)
{
    const auto defaults = this->desktop.open();
    std::vector<std::string> heard;
    auto observation = defaults->observe([&](const std::string& key) { heard.push_back(key); });
    const auto other = defaults->observe([&](const std::string& key) { heard.push_back(key); });
    defaults->set("a", 1.0);
    defaults->set("a", 1.0); // no change
    this->desktop.settle();
    EXPECT_EQ(heard, (std::vector<std::string>{"a", "a"}));
    observation.reset();
    defaults->set("a", std::nullopt);
    EXPECT_EQ(heard.size(), 3U);
}

TYPED_TEST_P(DefaultsContract, anObserverMaySetValuesAndEndItself)
{
    const auto defaults = this->desktop.open();
    std::vector<std::string> heard;
    std::shared_ptr<const void> observation;
    observation = defaults->observe([&](const std::string& key) {
        heard.push_back(key);
        observation.reset();
        defaults->set("b", 2.0);
    });
    defaults->set("a", 1.0);
    EXPECT_EQ(heard, std::vector<std::string>{"a"});
    EXPECT_EQ(defaults->value("b"), DefaultsValue(2.0));
}

REGISTER_TYPED_TEST_SUITE_P(DefaultsContract, whatWasNeverStoredIsNotThere,
                            eachKindOfValueIsReadAsItWasStored,
                            theLastValueOfAKeyIsReadUntilItIsRemoved,
                            onlyTheVeryFirstStartMakesTheStore,
                            observersHearOfEachChangeOnceForAsLongAsTheyAreKept,
                            anObserverMaySetValuesAndEndItself);

} // namespace vorlin
