#include "Platform/Linux/Keys/SwayKnowledge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>

namespace vorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr HardwareKey escape = hardwareKeys::escape;
constexpr HardwareKey f9 = 75;

std::vector<SwayOwnBinding> read(const std::string& text)
{
    return swayOwnBindings({"/config", text}, [](const std::string&, const std::string&) {
        return std::vector<SwayConfigurationFile>();
    });
}

SwayOwnBinding symbol(const std::string& name, SwayModifiers modifiers = 0,
                      const std::string& mode = "default")
{
    return {mode, modifiers, 0, name};
}

TEST(SwayConfigurationTest, bindingsAreFoundInEveryForm)
{
    using namespace swayModifiers;
    EXPECT_THAT(read("bindsym Escape exec x"), ElementsAre(symbol("Escape")));
    EXPECT_THAT(read("  bindsym --locked --inhibited --input-device=1:1:a Escape exec x"),
                ElementsAre(symbol("Escape")));
    EXPECT_THAT(read("bindsym \\\n  Escape \\\n exec x"), ElementsAre(symbol("Escape")));
    EXPECT_THAT(read("bindsym Ctrl+Mod1+Group2+Escape exec x"),
                ElementsAre(symbol("Escape", control | alt)));
    EXPECT_THAT(read("bindcode --release mod4+9 exec x"),
                ElementsAre(SwayOwnBinding{"default", logo, 9, {}}));
    EXPECT_THAT(read("mode \"a b\" bindsym Escape mode default"),
                ElementsAre(symbol("Escape", 0, "a b")));
    EXPECT_THAT(read("mode --pango_markup \"<b>\" {\nbindsym Escape x\n}\nbindsym F9 y"),
                ElementsAre(symbol("Escape", 0, "<b>"), symbol("F9")));
    EXPECT_THAT(read("mode m\n{\nbindsym {\nEscape x\nF9 y\n}\n}\nbindsym F8 z"),
                ElementsAre(symbol("Escape", 0, "m"), symbol("F9", 0, "m"), symbol("F8")));
}

TEST(SwayConfigurationTest, variablesAreTheLongestThatFit)
{
    using namespace swayModifiers;
    EXPECT_THAT(read("set $m Mod1\nset $mod Mod4\nset $k $mod+Escape\nbindsym $k x\n"
                     "bindsym $m+F9 y\nset $verb bindsym\n$verb F8 z\nbindsym $unknown+F7 q"),
                ElementsAre(symbol("Escape", logo), symbol("F9", alt), symbol("F8")));
}

TEST(SwayConfigurationTest, whatBindsNoKeyByItselfIsPassedOver)
{
    EXPECT_THAT(read("# bindsym Escape x\nbindsym a+b x\nbindsym\nbindsym --locked\nbindsym + x\n"
                     "exec \"bindsym Escape x\"\nbindswitch lid:on x\n}\n}\n{\nmode\nset\nset x y\n"
                     "include\ninclude a b"),
                IsEmpty());
}

TEST(SwayConfigurationTest, nothingGrowsWithoutEnd)
{
    std::string text = "set $a $a$a\nset $b aaaaaaaaaaaaaaaa\n";
    for (int round = 0; round < 40; ++round) {
        text += "set $b $b$b\n";
    }
    text += "bindsym $b x\n";
    for (int depth = 0; depth < 1000; ++depth) {
        text += "mode x {\n";
    }
    EXPECT_LE(read(text).size(), 1U);
}

class SwayKnowledgeTest : public testing::Test {
protected:
    SwayKnowledge learn(const std::string& text, const std::set<std::string>& layouts = {})
    {
        write("config", text);
        return SwayKnowledge::of({{path("config"), text}, layouts});
    }

    void write(const std::string& name, const std::string& text)
    {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name)) << text;
    }

    std::string path(const std::string& name) const
    {
        return folder.filePath(QString::fromStdString(name)).toStdString();
    }

    QTemporaryDir folder;
};

TEST_F(SwayKnowledgeTest, includesAreReadAsSwayReadsThem)
{
    write("config.d/one", "bindsym $key x\n");
    write("config.d/two", "bindsym F9 x\ninclude three\n");
    write("config.d/three", "mode m bindsym Escape x\ninclude two\ninclude ../config\n");
    const auto knowledge = learn("set $key Escape\ninclude config.d/*\n");
    EXPECT_TRUE(knowledge.isTaken("default", escape, 0));
    EXPECT_TRUE(knowledge.isTaken("default", f9, 0));
    EXPECT_TRUE(knowledge.isTaken("m", escape, 0));
    EXPECT_FALSE(knowledge.isTaken("default", escape, swayModifiers::alt));
}

TEST_F(SwayKnowledgeTest, anIncludeThatIsACommandIsNotRun)
{
    const auto knowledge =
        learn("include $(touch " + path("run") + ")\ninclude `touch " + path("run") +
              "`\ninclude missing\ninclude \"\nbindsym Escape x\n");
    EXPECT_TRUE(knowledge.isTaken("default", escape, 0));
    EXPECT_FALSE(std::filesystem::exists(path("run")));
}

TEST_F(SwayKnowledgeTest, aSymbolIsTheKeyThatTypesItInSomeLayout)
{
    const auto knowledge = learn("bindsym Mod4+z x\nbindsym Mod4+odiaeresis y\nbindsym at z\n",
                                 {"German", "no such layout"});
    EXPECT_TRUE(knowledge.isTaken("default", 52, swayModifiers::logo)) << "as on a US keyboard";
    EXPECT_TRUE(knowledge.isTaken("default", 29, swayModifiers::logo)) << "as on a German one";
    EXPECT_TRUE(knowledge.isTaken("default", 47, swayModifiers::logo));
    EXPECT_TRUE(knowledge.isTaken("default", 11, swayModifiers::shift));
    EXPECT_FALSE(knowledge.isTaken("default", 11, 0));
}

TEST_F(SwayKnowledgeTest, rightAltTypesCharactersInLayoutsThatSaySo)
{
    for (const auto* layout : {"German", "French", "Spanish", "English (UK)", "Polish"}) {
        EXPECT_THAT(learn("", {"English (US)", layout}).chooseLevel,
                    ElementsAre(hardwareKeys::rightAlt))
            << layout;
    }
    EXPECT_THAT(learn("", {"English (US)"}).chooseLevel, IsEmpty());
}

} // namespace
} // namespace vorlin
