#include "Engine.h"

#include "Preferences.h"
#include "fakes/FakeDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

namespace vorlin {
namespace {

const std::string hubSource = R"({"hub":{"_0":"owner/model"}})";

/// A list of one engine with this "source".
std::string listWith(const std::string& source)
{
    return R"([{"id":"custom-0","name":"N","summary":"S","sizeLabel":"Custom","source":)" + source +
           R"(,"custom":true}])";
}

std::string failureOf(const std::string& json)
{
    try {
        Engine::decode(json);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(decoded)";
}

Engine::Source sourceOf(const std::string& source)
{
    return Engine::decode(listWith(source)).at(0).source;
}

TEST(Engine, threeAreBuiltInInTheirOrder)
{
    const auto& engines = Engine::builtIn();
    ASSERT_EQ(engines.size(), 3U);
    EXPECT_EQ(engines[0].id, "apple");
    EXPECT_EQ(engines[0].name, "Apple Speech");
    EXPECT_EQ(engines[0].summary,
              "Built into macOS. Shows your words live as you speak, with nothing to download.");
    EXPECT_EQ(engines[0].sizeLabel, "Built in");
    EXPECT_EQ(engines[0].source, Engine::Source(Engine::Apple{}));
    EXPECT_THAT(*engines[0].tags, testing::ElementsAre("7 languages", "Live text", "No download"));
    EXPECT_EQ(engines[1].id, "parakeetRedux");
    EXPECT_EQ(engines[1].name, "NVIDIA Parakeet Redux");
    EXPECT_EQ(engines[1].summary, "A compact NVIDIA model that transcribes each sentence in about "
                                  "a second. A good balance of speed and download size.");
    EXPECT_EQ(engines[1].sizeLabel, "\u2248 220 MB");
    EXPECT_EQ(engines[1].source,
              Engine::Source(Engine::Hub{"FluidInference/parakeet-redux-coreml"}));
    EXPECT_THAT(*engines[1].tags,
                testing::ElementsAre("25 languages", "Auto-detects language", "Fast"));
    EXPECT_EQ(engines[2].id, "parakeetUltra");
    EXPECT_EQ(engines[2].name, "NVIDIA Parakeet Ultra");
    EXPECT_EQ(engines[2].summary, "The most accurate model here, for names, accents and long "
                                  "dictations. Larger download.");
    EXPECT_EQ(engines[2].sizeLabel, "\u2248 630 MB");
    EXPECT_EQ(engines[2].source,
              Engine::Source(Engine::Hub{"FluidInference/parakeet-ultra-coreml"}));
    EXPECT_THAT(*engines[2].tags,
                testing::ElementsAre("25 languages", "Auto-detects language", "Most accurate"));
    for (const auto& engine : engines) {
        EXPECT_FALSE(engine.custom);
    }
}

TEST(Engine, ofTheLanguagesOfEuropeTheFirstParakeetKnowsTwentyFive)
{
    for (const char* language :
         {"bg", "cs", "da", "de", "el", "en", "es", "et", "fi", "fr", "hr", "hu", "it",
          "lt", "lv", "mt", "nl", "pl", "pt", "ro", "ru", "sk", "sl", "sv", "uk"}) {
        for (const char* region : {"", "-XX", "_XX"}) {
            const auto* engine = Engine::knowing(language + std::string(region));
            ASSERT_NE(engine, nullptr) << language << region;
            EXPECT_EQ(engine->id, "parakeetRedux");
        }
    }
    for (const char* language : {"", "ja", "ko", "zh-CN", "ar", "hi", "tr", "no", "ca", "eng"}) {
        EXPECT_EQ(Engine::knowing(language), nullptr) << language;
    }
}

TEST(Engine, anAddedOneIsCalledAsTypedOrElseAsWhereItComesFrom)
{
    const auto named = Engine::added("custom-1", "Mine", "model", Engine::Hub{"owner/model"});
    EXPECT_EQ(named, (Engine{"custom-1", "Mine", "owner/model", "Custom",
                             Engine::Hub{"owner/model"}, true, std::nullopt}));
    const auto unnamed = Engine::added("custom-2", "", "f", Engine::Local{"/a/f"});
    EXPECT_EQ(unnamed, (Engine{"custom-2", "f", "/a/f", "Custom", Engine::Local{"/a/f"}, true,
                               std::nullopt}));
}

TEST(Engine, equalityAndHashTakeEveryField)
{
    const Engine one = Engine::added("id", "name", "", Engine::Hub{"a/b"});
    std::vector<Engine> variants(8, one);
    variants[1].id = "other";
    variants[2].name = "other";
    variants[3].summary = "other";
    variants[4].sizeLabel = "other";
    variants[5].source = Engine::Local{"a/b"};
    variants[6].custom = false;
    variants[7].tags.emplace();
    const std::unordered_set<Engine> distinct(variants.begin(), variants.end());
    EXPECT_EQ(distinct.size(), variants.size());
    std::unordered_set<std::size_t> hashes;
    for (const auto& engine : variants) {
        hashes.insert(std::hash<Engine>{}(engine));
    }
    EXPECT_EQ(hashes.size(), variants.size());
}

TEST(Engine, theStoredFormIsAnObjectWithTheCaseNameAsOnlyKeyOfItsSource)
{
    const auto hub = Engine::added("custom-1", "N", "", Engine::Hub{"o/m"});
    EXPECT_EQ(Engine::encoded({hub}),
              R"([{"custom":true,"id":"custom-1","name":"N","sizeLabel":"Custom",)"
              R"("source":{"hub":{"_0":"o/m"}},"summary":"o/m"}])");
    const auto local = Engine::added("custom-2", "N", "", Engine::Local{"/a b/ü"});
    EXPECT_THAT(*Engine::encoded({local}),
                testing::HasSubstr(R"("source":{"local":{"_0":"/a b/ü"}})"));
    EXPECT_THAT(*Engine::encoded(Engine::builtIn()),
                testing::HasSubstr(R"("source":{"apple":{}})"));
    EXPECT_EQ(Engine::encoded({}), "[]");
}

TEST(Engine, everyListDecodesAsItWasEncoded)
{
    auto engines = Engine::builtIn();
    engines.push_back(Engine::added("custom-1", "", "m", Engine::Hub{"o/m"}));
    engines.push_back(Engine::added("custom-2", "\"\\\n\u2248", "m", Engine::Local{"/ü"}));
    EXPECT_EQ(Engine::decode(*Engine::encoded(engines)), engines);
}

TEST(Engine, absentTagsAreNotWrittenAndAnEmptyListIsNotAbsent)
{
    Engine engine = Engine::added("custom-1", "N", "", Engine::Hub{"o/m"});
    EXPECT_THAT(*Engine::encoded({engine}), testing::Not(testing::HasSubstr("tags")));
    EXPECT_EQ(Engine::decode(*Engine::encoded({engine})).at(0), engine);
    const Engine withoutTags = engine;
    engine.tags.emplace();
    EXPECT_THAT(*Engine::encoded({engine}), testing::HasSubstr(R"("tags":[])"));
    EXPECT_EQ(Engine::decode(*Engine::encoded({engine})).at(0), engine);
    EXPECT_NE(engine, withoutTags);
}

TEST(Engine, decodesWhateverTheOrderAndSpacingAndTheKeysOfOthers)
{
    const auto engines = Engine::decode(R"( [ {
        "source" : { "hub" : { "later" : 1, "_0" : "o\/m" } } , "custom":true,
        "unknown": [{}], "tags": [ "a" , "b" ], "sizeLabel":"", "summary":"\u2248",
        "name":"N", "id":"I" } ] )");
    ASSERT_EQ(engines.size(), 1U);
    EXPECT_EQ(engines[0], (Engine{"I", "N", "\u2248", "", Engine::Hub{"o/m"}, true,
                                  std::vector<std::string>{"a", "b"}}));
}

TEST(Engine, everySourceDecodes)
{
    EXPECT_EQ(sourceOf(R"({"apple":{}})"), Engine::Source(Engine::Apple{}));
    EXPECT_EQ(sourceOf(R"({"apple":{"more":1}})"), Engine::Source(Engine::Apple{}));
    EXPECT_EQ(sourceOf(R"({"hub":{"_0":"a/b"}})"), Engine::Source(Engine::Hub{"a/b"}));
    EXPECT_EQ(sourceOf(R"({"local":{"_0":"/a"}})"), Engine::Source(Engine::Local{"/a"}));
}

TEST(Engine, aSourceWithNoKeyOrSeveralFails)
{
    const std::string text = "Invalid number of keys found, expected one.";
    EXPECT_EQ(failureOf(listWith("{}")), text);
    EXPECT_EQ(failureOf(listWith(R"({"hub":{"_0":"a/b"},"local":{"_0":"/a"}})")), text);
    EXPECT_EQ(failureOf(listWith(R"({"apple":{},"more":1})")), text);
}

TEST(Engine, anUnknownSourceOrAWrongPayloadFails)
{
    for (const std::string source :
         {R"({"disk":{"_0":"/a"}})", R"({"Hub":{"_0":"a/b"}})", R"({"hub":{}})",
          R"({"hub":{"_1":"a/b"}})", R"({"hub":{"_0":1}})", R"({"hub":{"_0":null}})",
          R"({"hub":"a/b"})", R"({"apple":null})", R"({"apple":[]})", R"({"local":{"_0":["/a"]}})",
          R"("apple")", R"(["hub"])", "null", "1"}) {
        EXPECT_NE(failureOf(listWith(source)), "(decoded)") << source;
    }
}

TEST(Engine, everyKeyButTagsIsRequired)
{
    EXPECT_EQ(failureOf(listWith(hubSource)), "(decoded)");
    for (const std::string key : {"id", "name", "summary", "sizeLabel", "source", "custom"}) {
        std::string json = listWith(hubSource);
        json.replace(json.find('"' + key + '"'), key.size() + 2, "\"x" + key + '"');
        EXPECT_EQ(failureOf(json), "The key \"" + key + "\" is missing.");
    }
}

TEST(Engine, valuesOfTheWrongTypeFail)
{
    const std::string good = listWith(hubSource);
    for (const auto& [from, to] : std::initializer_list<std::pair<std::string, std::string>>{
             {R"("custom-0")", "7"},
             {R"("N")", "null"},
             {R"("S")", R"(["S"])"},
             {R"("Custom")", "true"},
             {"true", "1"},
             {"true", R"("true")"},
             {"true", "null"},
             {"true", R"(true,"tags":"a")"},
             {"true", R"(true,"tags":{})"},
             {"true", R"(true,"tags":["a",1])"},
             {"true", R"(true,"tags":[null])"}}) {
        std::string json = good;
        json.replace(json.find(from), from.size(), to);
        EXPECT_NE(failureOf(json), "(decoded)") << json;
    }
}

TEST(Engine, nullTagsAreAbsent)
{
    std::string json = listWith(hubSource);
    json.replace(json.find("true"), 4, R"(true,"tags":null)");
    EXPECT_EQ(Engine::decode(json).at(0).tags, std::nullopt);
}

TEST(Engine, aKeyThatStandsTwiceCountsWhereItStandsLast)
{
    EXPECT_EQ(sourceOf(R"({"hub":{"_0":"a/b"},"hub":{"_0":"c/d"}})"),
              Engine::Source(Engine::Hub{"c/d"}));
}

TEST(Engine, damagedTextFails)
{
    using namespace std::string_literals;
    const std::string good = listWith(hubSource);
    for (const std::string& json :
         {""s, " "s, "\0"s, "null"s, "{}"s, "\"[]\""s, "[1]"s, "[null]"s, "[[]]"s, "["s,
          good.substr(0, good.size() - 1), good + "]", good + "\0"s, "[" + good + "]",
          listWith("{\"hub\":{\"_0\":\"\xff\"}}"), listWith("{\"hub\":{\"_0\":\"a\0b\"}}"s),
          listWith(R"({"hub":{"_0":"\ud800"}})"), "// a list\n" + good}) {
        EXPECT_NE(failureOf(json), "(decoded)") << json;
    }
}

TEST(Engine, deepNestingFailsWithoutHarm)
{
    const std::size_t depth = 1'000'000;
    EXPECT_NE(failureOf(std::string(depth, '[')), "(decoded)");
    EXPECT_NE(failureOf(std::string(depth, '[') + std::string(depth, ']')), "(decoded)");
    EXPECT_NE(failureOf(listWith(std::string(depth, '[') + std::string(depth, ']'))), "(decoded)");
}

TEST(Engine, aHugeTextFails)
{
    EXPECT_EQ(failureOf(std::string(5 << 20, ' ') + "[]"), "The list of engines is too large.");
    EXPECT_EQ(failureOf(std::string(1 << 20, ' ') + "[]"), "(decoded)");
}

TEST(Engine, textThatIsNotUTF8CannotBeStored)
{
    EXPECT_EQ(Engine::encoded({Engine::added("i", "\xff", "", Engine::Hub{"a/b"})}), std::nullopt);
    EXPECT_EQ(Engine::encoded({Engine::added("i", "n", "", Engine::Local{"/\xc3"})}), std::nullopt);
}

class StoredEngines : public testing::Test {
protected:
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};

    void store(const std::string& json)
    {
        defaults.values["customEngines"] = Bytes(json.begin(), json.end());
    }
};

TEST_F(StoredEngines, readBackAsTheyWereStored)
{
    EXPECT_TRUE(preferences.customEngines().empty());
    const std::vector<Engine> engines = {Engine::added("a", "A", "", Engine::Hub{"o/m"}),
                                         Engine::added("b", "B", "", Engine::Local{"/b"})};
    preferences.setCustomEngines(engines);
    EXPECT_EQ(preferences.customEngines(), engines);
    preferences.setCustomEngines({});
    EXPECT_TRUE(preferences.customEngines().empty());
}

TEST_F(StoredEngines, oneBadEngineCostsTheWholeList)
{
    const std::string good = listWith(hubSource);
    store(good);
    EXPECT_EQ(preferences.customEngines().size(), 1U);
    store(good.substr(0, good.size() - 1) + "," + listWith("{}").substr(1));
    EXPECT_TRUE(preferences.customEngines().empty());
    defaults.values["customEngines"] = good; // text instead of data
    EXPECT_TRUE(preferences.customEngines().empty());
}

TEST_F(StoredEngines, atTheStartAListThatIsUnderstoodIsStoredAgainAsItIsAndNoOther)
{
    int stored = 0;
    const auto observer = defaults.observe([&](const std::string&) { ++stored; });
    const std::string spaced = " " + listWith(hubSource) + "\n";
    store(spaced);
    EXPECT_EQ(preferences.adoptCustomEngines().size(), 1U);
    EXPECT_EQ(stored, 1);
    EXPECT_EQ(defaults.values["customEngines"], DefaultsValue(Bytes(spaced.begin(), spaced.end())));
    for (const auto& other : {std::string("[]"), listWith("{}"), std::string("{")}) {
        store(other);
        EXPECT_TRUE(preferences.adoptCustomEngines().empty());
    }
    EXPECT_EQ(stored, 1);
}

TEST_F(StoredEngines, aListThatCannotBeStoredLeavesTheStoredOne)
{
    preferences.setCustomEngines({Engine::added("a", "A", "", Engine::Hub{"o/m"})});
    preferences.setCustomEngines({Engine::added("a", "\xff", "", Engine::Hub{"o/m"})});
    EXPECT_EQ(preferences.customEngines().at(0).name, "A");
}

TEST_F(StoredEngines, theSelectionIsATextOrNothing)
{
    EXPECT_EQ(preferences.engine(), std::nullopt);
    preferences.setEngine("parakeetRedux");
    EXPECT_EQ(preferences.engine(), "parakeetRedux");
    EXPECT_EQ(defaults.values["engine"], DefaultsValue("parakeetRedux"));
    defaults.values["engine"] = true;
    EXPECT_EQ(preferences.engine(), std::nullopt);
}

} // namespace
} // namespace vorlin
