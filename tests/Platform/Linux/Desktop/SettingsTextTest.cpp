#include "Platform/Linux/Desktop/SettingsText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vorlin {
namespace {

SettingsText parsed(const std::string& text)
{
    const auto settings = SettingsText::parse(text);
    EXPECT_TRUE(settings.has_value()) << text;
    return settings.value_or(SettingsText());
}

std::string repeated(const std::string& text, std::size_t count)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

TEST(SettingsText, aWholeNumberReadsAsANumberAndABooleanNever)
{
    const auto settings = parsed(R"({"a": 1, "b": true, "c": 1.5, "d": -2, "e": "1.5"})");
    EXPECT_EQ(settings.value("a"), DefaultsValue(1.0));
    EXPECT_EQ(settings.value("b"), DefaultsValue(true));
    EXPECT_EQ(settings.value("c"), DefaultsValue(1.5));
    EXPECT_EQ(settings.value("d"), DefaultsValue(-2.0));
    EXPECT_EQ(settings.value("e"), DefaultsValue(std::string("1.5")));
}

TEST(SettingsText, bytesAreAnObjectWithExactlyTheMemberData)
{
    const auto settings = parsed(R"({
        "good": {"data": "AP9/"}, "empty": {"data": ""}, "more": {"data": "AP9/", "x": 1},
        "number": {"data": 1}, "other": {"bytes": "AP9/"}, "invalid": {"data": "AP*/"},
        "spaced": {"data": "AP 9/"}, "none": {}})");
    EXPECT_EQ(settings.value("good"), DefaultsValue(Bytes{0x00, 0xFF, 0x7F}));
    EXPECT_EQ(settings.value("empty"), DefaultsValue(Bytes{}));
    for (const auto* key : {"more", "number", "other", "invalid", "spaced", "none"}) {
        EXPECT_EQ(settings.value(key), std::nullopt) << key;
    }
}

TEST(SettingsText, valuesOfUnknownShapesReadAsNothing)
{
    const auto settings = parsed(R"({"null": null, "object": {"a": {"b": []}}})");
    for (const auto* key : {"null", "object", "absent"}) {
        EXPECT_EQ(settings.value(key), std::nullopt) << key;
    }
}

TEST(SettingsText, aListReadsAsTheBytesThatStandThereAndIsStoredAsData)
{
    const std::string list = "[ {\"a\": 1},\n  2 ]";
    auto settings = parsed(R"({"first": 1, "list": )" + list + R"(, "last": []})");
    const DefaultsValue bytes = Bytes(list.begin(), list.end());
    EXPECT_EQ(settings.value("list"), bytes);
    const auto before = settings;
    EXPECT_TRUE(settings.set("list", bytes));
    EXPECT_EQ(settings.value("list"), bytes);
    EXPECT_FALSE(settings.set("list", bytes));
    EXPECT_EQ(settings.text(), "{\n    \"first\": 1,\n    \"list\": "
                               "{\"data\":\"WyB7ImEiOiAxfSwKICAyIF0=\"},\n    \"last\": []\n}\n");
    EXPECT_TRUE(before.keysThatDiffer(settings).empty());
}

TEST(SettingsText, everyTypeSurvivesStoringAndParsing)
{
    const std::vector<DefaultsValue> values = {true,
                                               false,
                                               1.0,
                                               56.0,
                                               0.1,
                                               -1e300,
                                               std::string("a \"quoted\" \\ \n “日本” 🎤"),
                                               std::string(),
                                               Bytes{},
                                               Bytes{0},
                                               Bytes(300, 0xFE)};
    for (const auto& value : values) {
        SettingsText settings;
        EXPECT_TRUE(settings.set("key", value));
        EXPECT_EQ(settings.value("key"), value);
        EXPECT_EQ(parsed(settings.text()).value("key"), value) << settings.text();
    }
}

TEST(SettingsText, whatItDoesNotUnderstandStaysToTheByteAndInOrder)
{
    auto settings = parsed(R"({
    "z": [1, {"deep": "}\"]"}],
    "big": 123456789012345678901234567890,
    "exact": 1.50e+2,
    "own": 1,
    "a\u0062c": null
})");
    EXPECT_TRUE(settings.set("own", 2.0));
    EXPECT_TRUE(settings.set("new", true));
    EXPECT_EQ(settings.text(), R"({
    "z": [1, {"deep": "}\"]"}],
    "big": 123456789012345678901234567890,
    "exact": 1.50e+2,
    "own": 2.0,
    "abc": null,
    "new": true
}
)");
}

TEST(SettingsText, removingTheLastKeyLeavesAnEmptyObject)
{
    auto settings = parsed(R"({"a": 1})");
    EXPECT_TRUE(settings.set("a", std::nullopt));
    EXPECT_FALSE(settings.set("a", std::nullopt));
    EXPECT_EQ(settings.text(), "{}\n");
    EXPECT_TRUE(SettingsText::parse(settings.text()).has_value());
}

TEST(SettingsText, storingTheValueHeldChangesNothing)
{
    auto settings = parsed(R"({"a": 1, "b": {"data": "AA=="}, "c": "x"})");
    const auto before = settings;
    EXPECT_FALSE(settings.set("a", 1.0));
    EXPECT_FALSE(settings.set("b", Bytes{0}));
    EXPECT_FALSE(settings.set("c", std::string("x")));
    EXPECT_EQ(settings, before);
    EXPECT_TRUE(settings.set("a", true));
}

TEST(SettingsText, ofAKeyThatOccursTwiceTheLastValueCounts)
{
    EXPECT_EQ(parsed(R"({"a": 1, "b": 2, "a": 3})").text(), "{\n    \"a\": 3,\n    \"b\": 2\n}\n");
}

TEST(SettingsText, textThatIsNotUtf8AndNumbersThatAreNotFiniteStayHarmless)
{
    SettingsText settings;
    settings.set("text", std::string("a\xFF z"));
    settings.set("infinite", std::numeric_limits<double>::infinity());
    settings.set("nan", std::nan(""));
    const auto again = parsed(settings.text());
    EXPECT_EQ(again.value("text"), DefaultsValue(std::string("a\uFFFD z")));
    EXPECT_EQ(again.value("infinite"), std::nullopt);
    EXPECT_EQ(again.value("nan"), std::nullopt);
    EXPECT_EQ(again, settings);
}

TEST(SettingsText, aByteOrderMarkAndSpaceAreAccepted)
{
    EXPECT_EQ(parsed("\xEF\xBB\xBF \n\t{ \"a\" :\t1 \r\n,\"b\":2 } \n").text(),
              "{\n    \"a\": 1,\n    \"b\": 2\n}\n");
}

TEST(SettingsText, damagedTextIsRefused)
{
    for (const std::string text : {"",
                                   " ",
                                   "{",
                                   "}",
                                   "[]",
                                   "null",
                                   "1",
                                   "\"a\"",
                                   "{\"a\"}",
                                   "{\"a\":}",
                                   "{\"a\":1,}",
                                   "{\"a\":1} x",
                                   "{\"a\":1}{}",
                                   "{a:1}",
                                   "{'a':1}",
                                   "{\"a\":tru}",
                                   "{\"a\":\"\xFF\"}",
                                   "{\"a\":\"\n\"}",
                                   "{\"a\":1e999}",
                                   "// {}\n{}",
                                   "{\"a\":\"\\ud800\"}",
                                   "\xEF\xBB"}) {
        EXPECT_EQ(SettingsText::parse(text), std::nullopt) << text;
    }
    EXPECT_EQ(SettingsText::parse(std::string("{}\0", 3)), std::nullopt);
}

TEST(SettingsText, textCutShortAnywhereIsRefused)
{
    const std::string text = R"({"a": {"data": "AP9/"}, "b": [1, "x\"}"], "c": "\u00e9"})";
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_EQ(SettingsText::parse(text.substr(0, length)), std::nullopt) << length;
    }
}

TEST(SettingsText, absurdDepthIsRefusedWithoutACrash)
{
    const auto nested = [](std::size_t depth) {
        return "{\"a\": " + repeated("[", depth) + repeated("]", depth) + "}";
    };
    EXPECT_TRUE(SettingsText::parse(nested(SettingsText::maximumDepth - 1)).has_value());
    EXPECT_EQ(SettingsText::parse(nested(SettingsText::maximumDepth)), std::nullopt);
    EXPECT_EQ(SettingsText::parse(nested(1'000'000)), std::nullopt);
    EXPECT_EQ(SettingsText::parse("{\"a\": " + repeated("{\"a\":", 1'000'000)), std::nullopt);
}

TEST(SettingsText, absurdSizeIsRefused)
{
    EXPECT_EQ(SettingsText::parse("{}" + std::string(SettingsText::maximumBytes, ' ')),
              std::nullopt);
    std::string text = "{\"k\": 0";
    for (std::size_t i = 0; i < SettingsText::maximumMembers; ++i) {
        text += ",\"k" + std::to_string(i) + "\": 1";
    }
    EXPECT_EQ(SettingsText::parse(text + "}"), std::nullopt);
}

TEST(SettingsText, differencesAreTheKeysWhoseValuesDiffer)
{
    const auto before = parsed(R"({"same": 1, "gone": 2, "other": 3, "shape": [1], "kept": [2]})");
    const auto after = parsed(R"({"new": 4, "same": 1.0, "other": true, "shape": [3],
                                  "kept": [2]})");
    EXPECT_EQ(before.keysThatDiffer(after),
              (std::vector<std::string>{"gone", "other", "shape", "new"}));
    EXPECT_TRUE(before.keysThatDiffer(before).empty());
}

} // namespace
} // namespace vorlin
