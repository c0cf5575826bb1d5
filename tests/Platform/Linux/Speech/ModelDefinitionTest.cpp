#include "Platform/Linux/Speech/ModelDefinition.h"

#include "Platform/Linux/Desktop/TemporaryFolder.h"
#include "SpokenAudio.h"

#include <gtest/gtest.h>

#include <random>

namespace vorlin {

namespace {

class ModelDefinitionTest : public testing::Test {
protected:
    bool isSound(const std::string& content) const
    {
        write(folder / "mdef", content);
        return isSoundModelDefinition(folder / "mdef");
    }

    TemporaryFolder folder;
    const std::string whole = textOf(systemModels / "en-us" / "en-us" / "mdef");
};

TEST_F(ModelDefinitionTest, theInstalledOneIsSound)
{
    EXPECT_TRUE(isSound(whole));
}

TEST_F(ModelDefinitionTest, aTruncatedOneIsNot)
{
    for (const std::size_t size : {std::size_t{4}, std::size_t{40}, std::size_t{1100},
                                   std::size_t{1200}, whole.size() / 2, whole.size() - 1}) {
        EXPECT_FALSE(isSound(whole.substr(0, size))) << size;
    }
}

TEST_F(ModelDefinitionTest, countsThatPromiseMoreThanTheFileHoldsAreNot)
{
    constexpr std::size_t counts = 12 + 1052; // past magic, version and the header of this file
    for (std::size_t i = 0; i < 10; ++i) {
        for (const auto* value : {"\xff\xff\xff\xff", "\xff\xff\xff\x7f"}) {
            std::string changed = whole;
            changed.replace(counts + 4 * i, 4, value, 4);
            EXPECT_FALSE(isSound(changed)) << i;
        }
    }
}

TEST_F(ModelDefinitionTest, indicesOutOfTheirTablesAreNot)
{
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same damage every time
    for (int round = 0; round < 6; ++round) {
        std::string changed = whole;
        for (int i = 0; i < 16; ++i) {
            changed[4096 + random() % (whole.size() - 4096)] = '\xff';
        }
        EXPECT_FALSE(isSound(changed)) << round;
    }
}

TEST_F(ModelDefinitionTest, theTextFormIsLeftToTheDecoder)
{
    EXPECT_TRUE(isSound("0.3\n42 n_base\n"));
}

} // namespace

} // namespace vorlin
