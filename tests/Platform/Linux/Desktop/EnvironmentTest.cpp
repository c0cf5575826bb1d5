#include "Platform/Linux/Environment.h"

#include "Platform/Linux/Desktop/EnvironmentLocale.h"
#include "Platform/Linux/Desktop/InstanceLock.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace vorlin {
namespace {

using Variables = std::map<std::string, std::string>;

Environment environmentOf(Variables variables)
{
    return [variables = std::move(variables)](const char* name) -> std::optional<std::string> {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    };
}

std::string codeFor(Variables variables)
{
    return EnvironmentLocale(environmentOf(std::move(variables))).languageCode();
}

TEST(Environment, settingsLieInTheConfigurationFolder)
{
    EXPECT_EQ(settingsPath(environmentOf({{"XDG_CONFIG_HOME", "/c"}, {"HOME", "/h"}})),
              "/c/Vorlin/settings.json");
}

TEST(Environment, anUnsetEmptyOrRelativeConfigurationFolderIsTheOneInTheHomeFolder)
{
    EXPECT_EQ(configurationFolder(environmentOf({{"HOME", "/h"}})), "/h/.config");
    for (const auto* value : {"", "config", "./config", "~/config"}) {
        EXPECT_EQ(configurationFolder(environmentOf({{"XDG_CONFIG_HOME", value}, {"HOME", "/h"}})),
                  "/h/.config")
            << value;
    }
}

TEST(Environment, modelsLieInTheDataFolder)
{
    EXPECT_EQ(modelsFolder(environmentOf({{"XDG_DATA_HOME", "/d"}, {"HOME", "/h"}})),
              "/d/Vorlin/Models");
    for (const auto* value : {"", "data", "./data", "~/data"}) {
        EXPECT_EQ(modelsFolder(environmentOf({{"XDG_DATA_HOME", value}, {"HOME", "/h"}})),
                  "/h/.local/share/Vorlin/Models")
            << value;
    }
}

TEST(Environment, whatTheProgramNoticedLiesInTheStateFolder)
{
    EXPECT_EQ(statePath(environmentOf({{"XDG_STATE_HOME", "/s"}, {"HOME", "/h"}})),
              "/s/Vorlin/state.json");
    for (const auto* value : {"", "state", "./state", "~/state"}) {
        EXPECT_EQ(statePath(environmentOf({{"XDG_STATE_HOME", value}, {"HOME", "/h"}})),
                  "/h/.local/state/Vorlin/state.json")
            << value;
    }
}

TEST(Environment, withoutAHomeFolderTheAccountsIsUsed)
{
    EXPECT_TRUE(configurationFolder(environmentOf({})).is_absolute());
    EXPECT_EQ(configurationFolder(environmentOf({})),
              configurationFolder(environmentOf({{"HOME", "relative"}})));
}

TEST(EnvironmentLocale, whatNamesNoLanguageIsEnglish)
{
    EXPECT_EQ(codeFor({}), "en");
    for (const auto* value : {"", "C", "C.UTF-8", "C.utf8", "POSIX", "/locales/de", "1", "_AT",
                              "@euro", ".UTF-8", "deutsch", "\xC3\xA9\xC3\xA8"}) {
        EXPECT_EQ(codeFor({{"LANG", value}}), "en") << value;
    }
}

TEST(EnvironmentLocale, onlyTheLanguageOfALocaleNameCounts)
{
    for (const auto* value : {"de", "de_AT", "de_AT.UTF-8", "de_AT.UTF-8@euro", "de@euro",
                              "de.UTF-8", "de-AT", "DE_at"}) {
        EXPECT_EQ(codeFor({{"LANG", value}}), "de") << value;
    }
    EXPECT_EQ(codeFor({{"LANG", "nds_DE.UTF-8"}}), "nds");
}

TEST(EnvironmentLocale, theFirstVariableThatIsNotEmptyDecides)
{
    EXPECT_EQ(codeFor({{"LC_ALL", "fr_FR"}, {"LC_MESSAGES", "de_DE"}, {"LANG", "es_ES"}}), "fr");
    EXPECT_EQ(codeFor({{"LC_ALL", ""}, {"LC_MESSAGES", "de_DE"}, {"LANG", "es_ES"}}), "de");
    EXPECT_EQ(codeFor({{"LC_CTYPE", "fr_FR"}, {"LANG", "es_ES"}}), "es");
    EXPECT_EQ(codeFor({{"LC_ALL", "C"}, {"LANG", "es_ES"}}), "en");
}

TEST(EnvironmentLocale, theLanguageListGoesFirstUnlessTheLocaleIsC)
{
    EXPECT_EQ(codeFor({{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "pt_PT:de:en"}}), "pt");
    EXPECT_EQ(codeFor({{"LANG", "de_DE"}, {"LANGUAGE", ""}}), "de");
    EXPECT_EQ(codeFor({{"LANG", "de_DE"}, {"LANGUAGE", ":"}}), "de");
    EXPECT_EQ(codeFor({{"LANG", "de_DE"}, {"LANGUAGE", "C"}}), "en");
    EXPECT_EQ(codeFor({{"LANG", "C.UTF-8"}, {"LANGUAGE", "de"}}), "en");
    EXPECT_EQ(codeFor({{"LANGUAGE", "de"}}), "en");
}

TEST(EnvironmentLocale, theRealEnvironmentIsRead)
{
    const auto environment = processEnvironment();
    EXPECT_TRUE(environment("PATH").has_value());
    EXPECT_EQ(environment("VORLIN_TEST_NO_SUCH_VARIABLE"), std::nullopt);
}

TEST(InstanceLockPath, oneForEachDisplayWhateverItsScreen)
{
    const auto pathOf = [](const std::string& display) {
        return InstanceLock::pathFor(
            environmentOf({{"XDG_RUNTIME_DIR", "/r"}, {"DISPLAY", display}}));
    };
    EXPECT_EQ(pathOf(":0"), pathOf(":0.1"));
    EXPECT_NE(pathOf(":0"), pathOf(":1"));
    EXPECT_NE(pathOf("host.name:10.0"), pathOf("host.other:10.0"));
    EXPECT_EQ(pathOf("/private/tmp/x:0").parent_path(), "/r");
}

TEST(InstanceLockPath, withoutARuntimeFolderItCarriesThePersonsNumber)
{
    EXPECT_EQ(InstanceLock::pathFor(environmentOf({{"DISPLAY", ":0"}})).parent_path(), "/tmp");
    EXPECT_EQ(InstanceLock::pathFor(environmentOf({{"XDG_RUNTIME_DIR", "relative"}})),
              InstanceLock::pathFor(environmentOf({})));
}

TEST(InstanceLockPath, aWaylandDisplayServesWhereThereIsNoOther)
{
    const auto wayland = InstanceLock::pathFor(
        environmentOf({{"XDG_RUNTIME_DIR", "/r"}, {"WAYLAND_DISPLAY", "wayland-1"}}));
    EXPECT_EQ(wayland, "/r/vorlin-wayland-1.lock");
}

} // namespace
} // namespace vorlin
