#include "Platform/macOS/MacDefaults.h"

#include "NSUserDefaults.h"
#include "Platform/Contracts/DefaultsContract.h"

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

class MacDefaultsTest : public testing::Test {
protected:
    MacDefaultsTest() { taken(); }
    ~MacDefaultsTest() override { standins::forgetDefaults(); }

    /// The system's object for the program's own defaults.
    NSUserDefaults* system = NSUserDefaults.standardUserDefaults;
    MacDefaults defaults;
};

TEST_F(MacDefaultsTest, keepsEachKindByTheCallForIt)
{
    taken();
    defaults.set("sounds", true);
    defaults.set("hud.margin", 56.0);
    defaults.set("recordMode", std::string("toggle"));
    defaults.set("hotkey.v2", Bytes{1, 2});
    defaults.set("sounds", std::nullopt);
    Calls writes;
    for (const auto& call : taken()) {
        if (call.find("objectForKey:") == std::string::npos ||
            call.find("setObject") != std::string::npos) {
            writes.push_back(call);
        }
    }
    EXPECT_EQ(writes, (Calls{"-[NSUserDefaults setBool:forKey:] sounds",
                             "-[NSUserDefaults setDouble:forKey:] hud.margin",
                             "-[NSUserDefaults setObject:forKey:] recordMode",
                             "-[NSUserDefaults setObject:forKey:] hotkey.v2",
                             "-[NSUserDefaults removeObjectForKey:] sounds"}));
    EXPECT_TRUE([[system objectForKey:@"recordMode"] isEqual:@"toggle"]);
    EXPECT_TRUE([[system objectForKey:@"hotkey.v2"] isKindOfClass:NSData.class]);
}

TEST_F(MacDefaultsTest, readsTheSystemEachTime)
{
    taken();
    EXPECT_EQ(defaults.value("hud.scale"), std::nullopt);
    [system setDouble:1.3 forKey:@"hud.scale"];
    EXPECT_EQ(defaults.value("hud.scale"), DefaultsValue(1.3));
    [system removeObjectForKey:@"hud.scale"];
    EXPECT_EQ(defaults.value("hud.scale"), std::nullopt);
    EXPECT_EQ(taken(), (Calls{"-[NSUserDefaults objectForKey:] hud.scale",
                              "-[NSUserDefaults setDouble:forKey:] hud.scale",
                              "-[NSUserDefaults objectForKey:] hud.scale",
                              "-[NSUserDefaults removeObjectForKey:] hud.scale",
                              "-[NSUserDefaults objectForKey:] hud.scale"}));
}

TEST_F(MacDefaultsTest, tellsABooleanFromANumberOfAnyType)
{
    [system setObject:@YES forKey:@"yes"];
    [system setObject:@NO forKey:@"no"];
    EXPECT_EQ(defaults.value("yes"), DefaultsValue(true));
    EXPECT_EQ(defaults.value("no"), DefaultsValue(false));
    const std::vector<NSNumber*> ones = {
        [NSNumber numberWithChar:1],
        [NSNumber numberWithInt:1],
        [NSNumber numberWithLongLong:1],
        [NSNumber numberWithUnsignedInteger:1],
        @1.0F,
        @1.0
    };
    for (NSNumber* one : ones) {
        [system setObject:one forKey:@"one"];
        EXPECT_EQ(defaults.value("one"), DefaultsValue(1.0)) << one.objCType;
    }
}

TEST_F(MacDefaultsTest, whatItHasNoKindForIsNotThere)
{
    [system setObject:@[ @"a" ] forKey:@"list"];
    [system setObject:@{@"a" : @1} forKey:@"map"];
    EXPECT_EQ(defaults.value("list"), std::nullopt);
    EXPECT_EQ(defaults.value("map"), std::nullopt);
}

TEST_F(MacDefaultsTest, leavesAMarkInAStoreThatIsMade)
{
    taken();
    EXPECT_TRUE(defaults.create());
    EXPECT_EQ(taken(), (Calls{"-[NSUserDefaults objectForKey:] startedBefore",
                              "-[NSUserDefaults setBool:forKey:] startedBefore"}));
    EXPECT_FALSE(defaults.create());
    EXPECT_EQ(taken(), (Calls{"-[NSUserDefaults objectForKey:] startedBefore"}));
}

TEST_F(MacDefaultsTest, aSuiteIsAStoreOfItsOwn)
{
    MacDefaults suite("io.vorlin.test");
    EXPECT_EQ(taken().back(), "-[NSUserDefaults initWithSuiteName:] io.vorlin.test");
    suite.set("sounds", false);
    EXPECT_EQ(MacDefaults("io.vorlin.test").value("sounds"), DefaultsValue(false));
    EXPECT_EQ(defaults.value("sounds"), std::nullopt);
}

TEST_F(MacDefaultsTest, whatWasSetHasReachedTheSystemOnceItIsGone)
{
    {
        MacDefaults own;
        MacDefaults suite("io.vorlin.test");
        suite.set("sounds", false);
        taken();
    }
    EXPECT_EQ(taken(), (Calls{"CFPreferencesAppSynchronize io.vorlin.test",
                              "CFPreferencesAppSynchronize the program"}));
}

struct UserDefaults {
    UserDefaults() = default;
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    ~UserDefaults() { standins::forgetDefaults(); }

    static std::unique_ptr<Defaults> open() { return std::make_unique<MacDefaults>(); }
    static void settle() {}
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, DefaultsContract, UserDefaults);

} // namespace
} // namespace vorlin
