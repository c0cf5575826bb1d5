#include "Platform/macOS/Plain/ErrorLine.h"
#include "Platform/macOS/Plain/FlippedRect.h"
#include "Platform/macOS/Plain/ModelFolders.h"
#include "Platform/macOS/Plain/PasteChord.h"
#include "Platform/macOS/Plain/PrivacyPanes.h"
#include "Platform/macOS/Plain/SampleFormats.h"
#include "Platform/macOS/Plain/StatusSymbols.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(PasteChordTest, pastesByTheKeyOfVWithCommandAlone)
{
    EXPECT_EQ(commandV.keyCode, 9);
    EXPECT_EQ(commandV.modifiers, 0x100000U);
    EXPECT_EQ(commandV.source, PasteSource::clipboard);
}

TEST(ErrorLineTest, aFailureIsItsFirstLine)
{
    EXPECT_EQ(errorLine("  The device is gone. \nDetails: -10868"), "The device is gone.");
    EXPECT_EQ(errorLine("One line."), "One line.");
}

TEST(ErrorLineTest, aFailureThatSaysNothingStillHasALine)
{
    EXPECT_EQ(errorLine(""), "The operation could not be completed.");
    EXPECT_EQ(errorLine(" \n\t"), "The operation could not be completed.");
}

TEST(PrivacyPanesTest, eachPermissionHasItsPage)
{
    EXPECT_EQ(privacyPane(SystemPanel::microphone),
              "x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone");
    EXPECT_EQ(privacyPane(SystemPanel::accessibility),
              "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility");
}

TEST(StatusSymbolsTest, aRunningDictationHasTheFilledWaveform)
{
    EXPECT_STREQ(systemSymbol(StatusSymbol::idle), "waveform");
    EXPECT_STREQ(systemSymbol(StatusSymbol::active), "waveform.circle.fill");
}

TEST(SampleFormatsTest, sampleTypesHaveTheNumbersOfTheAudioFrameworks)
{
    EXPECT_EQ(commonFormat(SampleType::float32), 1U);
    EXPECT_EQ(commonFormat(SampleType::int16), 3U);
    EXPECT_EQ(commonFormat(SampleType::int32), 4U);
    for (const auto type : {SampleType::float32, SampleType::int16, SampleType::int32}) {
        EXPECT_EQ(sampleType(commonFormat(type)), type);
    }
}

TEST(SampleFormatsTest, doublesAndOtherFormatsAreNoneOfOurs)
{
    EXPECT_EQ(sampleType(0), std::nullopt);
    EXPECT_EQ(sampleType(2), std::nullopt);
    EXPECT_EQ(sampleType(5), std::nullopt);
}

TEST(SampleFormatsTest, onlyInterleavedChannelsShareTheirMemory)
{
    EXPECT_EQ(planesOf({SampleType::float32, 48000, 3, false}), 3U);
    EXPECT_EQ(planesOf({SampleType::float32, 48000, 3, true}), 1U);
}

TEST(FlippedRectTest, theUpperEdgeBecomesTheDistanceFromTheLowerOne)
{
    EXPECT_EQ(flipped({10, 0, 100, 20}, 76), (Rect{10, 56, 100, 20}));
    EXPECT_EQ(flipped({10, 56, 100, 20}, 76), (Rect{10, 0, 100, 20}));
}

TEST(ModelFoldersTest, onlyFoldersInTheRootItselfAreDirectlyBelowIt)
{
    EXPECT_TRUE(isDirectlyBelow("/models/one", "/models"));
    for (const char* folder : {"/models", "/models/", "/models/..", "/models/.", "/models/one/two",
                               "/models/one/..", "/other/one", "one", ""}) {
        EXPECT_FALSE(isDirectlyBelow(folder, "/models")) << folder;
    }
    EXPECT_FALSE(isDirectlyBelow(std::string("/models/o\0ne", 12), "/models"));
}

} // namespace
} // namespace vorlin
