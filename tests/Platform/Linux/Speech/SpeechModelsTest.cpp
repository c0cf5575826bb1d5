#include "Platform/Linux/Speech/SpeechModels.h"

#include "Platform/Linux/Desktop/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace vorlin {

namespace fs = std::filesystem;

namespace {

void touch(const fs::path& file)
{
    fs::create_directories(file.parent_path());
    write(file, "x");
}

void makeAcousticModel(const fs::path& folder)
{
    for (const auto* name : {"mdef", "means", "variances", "transition_matrices", "sendump"}) {
        touch(folder / name);
    }
}

/// A complete set of files at `folder`, as Debian names them.
void makeModel(const fs::path& folder)
{
    const std::string name = folder.filename();
    makeAcousticModel(folder / name);
    touch(folder / (name + ".lm.bin"));
    touch(folder / "cmudict.dict");
}

class SpeechModelsTest : public testing::Test {
protected:
    SpeechModels models() const { return SpeechModels({user, system}); }

    std::string nearest(const std::string& locale) const
    {
        const auto model = models().nearest(locale);
        return model ? model->locale : "none";
    }

    TemporaryFolder folder;
    fs::path user = folder / "user";
    fs::path system = folder / "system";
};

TEST_F(SpeechModelsTest, findsTheFilesOfAModel)
{
    makeModel(system / "en-us");
    const auto model = models().exactly("en-US");
    ASSERT_TRUE(model);
    EXPECT_EQ(model->locale, "en-US");
    EXPECT_EQ(model->acousticModel, system / "en-us" / "en-us");
    EXPECT_EQ(model->languageModel, system / "en-us" / "en-us.lm.bin");
    EXPECT_EQ(model->dictionary, system / "en-us" / "cmudict.dict");
}

TEST_F(SpeechModelsTest, anExactLocaleWinsWhateverItsSpelling)
{
    makeModel(user / "en-GB");
    makeModel(system / "en-us");
    for (const auto* spelling : {"en-US", "en_US", "EN-us", "en_US.UTF-8", "en_US@euro"}) {
        EXPECT_EQ(nearest(spelling), "en-US") << spelling;
    }
    makeModel(system / "PT_br");
    EXPECT_EQ(nearest("pt-BR"), "pt-BR");
}

TEST_F(SpeechModelsTest, anUnknownRegionGetsTheNearestOfTheLanguage)
{
    makeModel(system / "en-us");
    EXPECT_EQ(nearest("en-GB"), "en-US");
    EXPECT_EQ(nearest("en"), "en-US");
    EXPECT_FALSE(models().exactly("en-GB"));
    makeModel(system / "en-au");
    EXPECT_EQ(nearest("en-GB"), "en-AU");
    makeModel(user / "en-ZA");
    EXPECT_EQ(nearest("en-GB"), "en-ZA");
    makeModel(system / "en");
    EXPECT_EQ(nearest("en-GB"), "en");
}

TEST_F(SpeechModelsTest, anotherLanguageOrNoLocaleGetsNothing)
{
    makeModel(system / "en-us");
    for (const auto* other : {"de-DE", "fr", "eng-US", "e", "", "-", "en-", "C", "../en-us"}) {
        EXPECT_EQ(nearest(other), "none") << other;
    }
}

TEST_F(SpeechModelsTest, aScriptInTheLocaleIsOverlooked)
{
    makeModel(system / "zh-CN");
    EXPECT_EQ(nearest("zh-Hans-CN"), "zh-CN");
    EXPECT_EQ(nearest("zh_Hant"), "zh-CN");
}

TEST_F(SpeechModelsTest, theUsersModelBeatsTheSystems)
{
    makeModel(system / "en-us");
    makeModel(user / "en-US");
    EXPECT_EQ(models().exactly("en-US")->acousticModel, user / "en-US" / "en-US");
}

TEST_F(SpeechModelsTest, anIncompleteUsersModelLeavesTheSystems)
{
    makeModel(system / "en-us");
    for (const auto* missing : {"en-US.lm.bin", "cmudict.dict", "en-US/mdef", "en-US/means",
                                "en-US/variances", "en-US/transition_matrices", "en-US/sendump"}) {
        makeModel(user / "en-US");
        fs::remove(user / "en-US" / missing);
        EXPECT_EQ(models().exactly("en-US")->acousticModel, system / "en-us" / "en-us") << missing;
    }
    touch(user / "en-US" / "en-US" / "mixture_weights"); // instead of the sendump
    EXPECT_EQ(models().exactly("en-US")->acousticModel, user / "en-US" / "en-US");
}

TEST_F(SpeechModelsTest, acceptsOtherLayouts)
{
    makeAcousticModel(user / "fr-FR"); // right in the folder
    touch(user / "fr-FR" / "french.lm.gz");
    touch(user / "fr-FR" / "french.dic");
    auto model = models().exactly("fr-FR");
    ASSERT_TRUE(model);
    EXPECT_EQ(model->acousticModel, user / "fr-FR");
    EXPECT_EQ(model->languageModel.filename(), "french.lm.gz");
    touch(user / "fr-FR" / "a.lm");
    touch(user / "fr-FR" / "z.dict");
    touch(user / "fr-FR" / "a-phone.lm.bin");
    EXPECT_EQ(models().exactly("fr-FR")->languageModel.filename(), "a.lm");
    EXPECT_EQ(models().exactly("fr-FR")->dictionary.filename(), "z.dict");
    touch(user / "fr-FR" / "a.lm.bin");
    touch(user / "fr-FR" / "fr-FR.lm.bin");
    EXPECT_EQ(models().exactly("fr-FR")->languageModel.filename(), "fr-FR.lm.bin");
}

TEST_F(SpeechModelsTest, oddEntriesAreHarmless)
{
    makeModel(folder / "elsewhere" / "it-IT");
    fs::create_directories(user);
    fs::create_directory_symlink(folder / "elsewhere" / "it-IT", user / "it-IT");
    fs::create_directory_symlink(user, user / "de-DE");
    fs::create_symlink("no-such", user / "es-ES");
    fs::create_symlink("nl-NL", user / "nl-NL");
    touch(user / "sv-SE");
    touch(user / "not\na locale" / "mdef");
    touch(user / ".lm.bin");
    fs::create_directories(user / "da-DK" / "da-DK.lm.bin");
    fs::create_directories(user / "da-DK" / "da-DK" / "mdef");
    EXPECT_EQ(nearest("it"), "it-IT");
    for (const auto* none : {"de", "es", "nl", "sv", "da"}) {
        EXPECT_EQ(nearest(none), "none") << none;
    }
}

} // namespace

} // namespace vorlin
