#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <gtest/gtest.h>

namespace vorlin {

TEST(SelectionTargets, bytesOfTheTypeAskedForKeepTheTargetsName)
{
    EXPECT_EQ(pasteboardType({"text/html", "text/html", 8}), "text/html");
    EXPECT_EQ(targetForm("text/html"), (TargetForm{"text/html", "text/html", 8}));
}

TEST(SelectionTargets, anotherTypeOrFormatStandsInTheName)
{
    for (const TargetForm& form :
         {TargetForm{"TEXT", "UTF8_STRING", 8}, TargetForm{"LENGTH", "INTEGER", 32},
          TargetForm{"a/b", "a/b", 16}}) {
        const auto name = pasteboardType(form);
        ASSERT_TRUE(name);
        EXPECT_EQ(targetForm(*name), form);
    }
}

TEST(SelectionTargets, namesThatNoSnapshotGivesAreRefused)
{
    for (const char* name : {"", "\x1f", "a\x1f", "a\x1f\x1f",
                             "a\x1f"
                             "b",
                             "a\x1f"
                             "b\x1f",
                             "a\x1f"
                             "b\x1f"
                             "7",
                             "a\x1f"
                             "b\x1f"
                             "32\x1f",
                             "a\x1f"
                             "a\x1f"
                             "8",
                             "\x1f"
                             "b\x1f"
                             "8"}) {
        EXPECT_FALSE(targetForm(name)) << name;
    }
    EXPECT_FALSE(pasteboardType({"a\x1f"
                                 "b",
                                 "c", 8}));
    EXPECT_FALSE(pasteboardType({"", "c", 8}));
    EXPECT_FALSE(pasteboardType({std::string(100'000, 'x'), "c", 8}));
}

TEST(SelectionTargets, questionsCommandsAndHandlesAreNoData)
{
    for (const char* target :
         {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "DELETE", "INSERT_SELECTION",
          "INSERT_PROPERTY", "application/x-qt-image", "PIXMAP", "", "GTK_TEXT_BUFFER_CONTENTS"}) {
        EXPECT_FALSE(isKeptTarget(target)) << target;
    }
    EXPECT_TRUE(isKeptTarget("text/plain"));
    EXPECT_TRUE(isKeptTarget("application/x-mine"));
    EXPECT_FALSE(isKeptType("WINDOW"));
    EXPECT_TRUE(isKeptType("ATOM"));
}

TEST(SelectionTargets, plainTextIsReadFirstAndComputedImagesLast)
{
    const std::vector<std::string> inOrder = {
        "UTF8_STRING", "STRING", "text/html", "image/png", "application/x-mine", "image/bmp"};
    for (std::size_t i = 1; i < inOrder.size(); ++i) {
        EXPECT_LT(readingOrder(inOrder[i - 1]), readingOrder(inOrder[i])) << inOrder[i];
    }
}

TEST(SelectionTargets, anIncompleteNumberIsLeftOut)
{
    const std::vector<std::uint8_t> bytes(11, 1);
    EXPECT_EQ(numbersIn(bytes, 100).size(), 2U);
    EXPECT_EQ(numbersIn(bytes, 1).size(), 1U);
    EXPECT_TRUE(numbersIn({}, 100).empty());
}

TEST(SelectionTargets, latin1KeepsWhatItHasAndTheWordsOfTheRest)
{
    const auto converted = [](std::string_view text) {
        bool exact = true;
        const auto bytes = latin1Of(text, &exact);
        return std::pair(std::string(bytes.begin(), bytes.end()), exact);
    };
    EXPECT_EQ(converted("Gr\xc3\xbc\xc3\x9f"
                        "e"),
              std::pair(std::string("Gr\xfc\xdf"
                                    "e"),
                        true));
    EXPECT_EQ(converted("\u201cdon\u2019t\u201d \u2014 \u65e5\U0001f3a4\u2026"),
              std::pair(std::string("\"don't\" - ??..."), false));
    EXPECT_EQ(converted("a\xff\xc3"), std::pair(std::string("a??"), false));
    EXPECT_EQ(converted("\xe2\x82"
                        "a"),
              std::pair(std::string("??a"), false));
}

} // namespace vorlin
