#pragma once

#include "Ports/Pasteboard.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vorlin {

/// What the pasteboard of every desktop does. `Desktop` has one, `pasteboard()`, reads it by
/// `snapshot()`, and names the type of its texts, `textType`. In `copyElsewhere` another program
/// copies a text, and the pasteboard has seen it when that returns. Nothing is on it at first.
template <class Desktop>
class PasteboardContract : public testing::Test {
protected:
    static constexpr auto clipboard = PasteSource::clipboard;

    static std::vector<std::uint8_t> bytes(const std::string& text)
    {
        return {text.begin(), text.end()};
    }
    /// As another program may have left it.
    const PasteboardSnapshot copied = {{{"text/html", bytes("<b>ü</b>")},
                                        {"application/x-mine", {0, 'a', 0, 0xFF, 0}},
                                        {"EMPTY", {}}}};

    Desktop desktop;
};

TYPED_TEST_SUITE_P(PasteboardContract);

TYPED_TEST_P(PasteboardContract, anEmptyOneIsNoItems)
{
    EXPECT_TRUE(this->desktop.snapshot().empty());
}

TYPED_TEST_P(PasteboardContract, whatIsPutBackIsReadByteForByteWithAllItsTypes)
{
    this->desktop.pasteboard().replace(this->clipboard, this->copied);
    EXPECT_EQ(this->desktop.snapshot(), this->copied);
}

TYPED_TEST_P(PasteboardContract, aTextTakesThePlaceOfEverythingThatWasThere)
{
    auto& pasteboard = this->desktop.pasteboard();
    pasteboard.replace(this->clipboard, this->copied);
    pasteboard.setString(this->clipboard, "“日本” ü");
    const auto contents = this->desktop.snapshot();
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_FALSE(contents[0].contains("text/html"));
    ASSERT_TRUE(contents[0].contains(TypeParam::textType));
    EXPECT_EQ(contents[0].at(TypeParam::textType), this->bytes("“日本” ü"));
}

TYPED_TEST_P(PasteboardContract, whatWasThereComesBackInThePlaceOfAText)
{
    auto& pasteboard = this->desktop.pasteboard();
    pasteboard.replace(this->clipboard, this->copied);
    const auto before = this->desktop.snapshot();
    pasteboard.setString(this->clipboard, "dictated");
    pasteboard.restore(this->clipboard, before);
    EXPECT_EQ(this->desktop.snapshot(), this->copied);
    pasteboard.setString(this->clipboard, "dictated");
    pasteboard.restore(this->clipboard, {});
    EXPECT_TRUE(this->desktop.snapshot().empty());
}

TYPED_TEST_P(PasteboardContract, whatComesBackDisplacesNoCopyOfAnotherProgram)
{
    auto& pasteboard = this->desktop.pasteboard();
    pasteboard.setString(this->clipboard, "dictated");
    pasteboard.restore(this->clipboard, this->copied);
    EXPECT_EQ(this->desktop.snapshot(), this->copied);
    pasteboard.setString(this->clipboard, "dictated");
    this->desktop.copyElsewhere("theirs");
    pasteboard.restore(this->clipboard, this->copied);
    const auto contents = this->desktop.snapshot();
    ASSERT_EQ(contents.size(), 1U);
    ASSERT_TRUE(contents[0].contains(TypeParam::textType));
    EXPECT_EQ(contents[0].at(TypeParam::textType), this->bytes("theirs"));
}

TYPED_TEST_P(PasteboardContract, eachChangeHasANumberOfItsOwn)
{
    auto& pasteboard = this->desktop.pasteboard();
    const auto empty = pasteboard.changeCount(this->clipboard);
    pasteboard.setString(this->clipboard, "dictated");
    const auto text = pasteboard.changeCount(this->clipboard);
    EXPECT_NE(text, empty);
    pasteboard.replace(this->clipboard, this->copied);
    EXPECT_NE(pasteboard.changeCount(this->clipboard), text);
}

REGISTER_TYPED_TEST_SUITE_P(PasteboardContract, anEmptyOneIsNoItems,
                            whatIsPutBackIsReadByteForByteWithAllItsTypes,
                            aTextTakesThePlaceOfEverythingThatWasThere,
                            whatWasThereComesBackInThePlaceOfAText,
                            whatComesBackDisplacesNoCopyOfAnotherProgram,
                            eachChangeHasANumberOfItsOwn);

} // namespace vorlin
