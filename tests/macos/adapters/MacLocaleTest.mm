#include "Platform/macOS/MacLocale.h"

#include "NSLocale.h"

namespace vorlin {
namespace {

TEST(MacLocaleTest, asksTheCurrentLocaleEachTimeForItsLanguageCode)
{
    const std::vector<std::string> calls = {"+[NSLocale currentLocale]",
                                            "-[NSLocale objectForKey:] kCFLocaleLanguageCodeKey"};
    for (NSString* code in @[ @"fr", @"ja" ]) {
        standins::languageCode() = code;
        EXPECT_EQ(MacLocale().languageCode(), code.UTF8String);
        EXPECT_EQ(standins::taken(), calls);
    }
    standins::languageCode() = nil;
}

TEST(MacLocaleTest, isEmptyWhereTheLocaleHasNone)
{
    EXPECT_EQ(MacLocale().languageCode(), "");
}

} // namespace
} // namespace vorlin
