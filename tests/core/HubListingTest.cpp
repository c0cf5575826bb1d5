#include "Models/HubListing.h"

#include "Models/HubAddress.h"
#include "Models/ModelFolder.h"
#include "Ports/URLError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

HubItem file(const std::string& path, std::optional<std::int64_t> size = 1)
{
    return {"file", path, size};
}

/// How `call` fails as the hub's answer; "(not)" when it does not.
template <class Call>
std::string refusal(Call call)
{
    try {
        call();
    } catch (const URLError& error) {
        EXPECT_EQ(error.code(), URLError::Code::badServerResponse);
        EXPECT_EQ(std::string(error.what()).find_first_of("\n\r"), std::string::npos);
        return error.what();
    }
    return "(not)";
}

std::string refusedPath(const std::string& path)
{
    return refusal([&] { selectedFiles({file(path)}); });
}

TEST(HubListing, readsTypePathAndSizeAndIgnoresOtherKeys)
{
    EXPECT_THAT(decodeListing(R"([{"type":"directory","oid":"1","size":0,"path":"a"},)"
                              R"({"lfs":{"size":7},"path":"a/b","size":12,"type":"file"},)"
                              R"({"type":"file","path":"c"},)"
                              R"({"type":"file","path":"d","size":null}])"),
                ElementsAre(HubItem{"directory", "a", 0}, HubItem{"file", "a/b", 12},
                            HubItem{"file", "c", std::nullopt},
                            HubItem{"file", "d", std::nullopt}));
    EXPECT_THAT(decodeListing("[]"), IsEmpty());
}

TEST(HubListing, saysOfEveryOtherAnswerThatItIsNotTheHubs)
{
    using namespace std::string_literals;
    for (const auto& answer :
         {""s, "<html>Log in</html>"s, "{}"s, "[1]"s, "[{}]"s, R"([{"type":"file"}])"s,
          R"([{"type":"file","path":3}])"s, R"([{"type":null,"path":"a"}])"s,
          R"([{"type":"file","path":"a"}])"s + '\0', "[\"\xFF\"]"s, std::string(200'000, '['),
          "[" + std::string(largestListing, ' ') + "]"}) {
        EXPECT_EQ(refusal([&] { decodeListing(answer); }),
                  URLError(URLError::Code::badServerResponse).what())
            << answer.substr(0, 80);
    }
}

TEST(HubListing, refusesAListWhoseValuesLieTooDeepInEachOther)
{
    const auto nested = [](std::size_t depth) {
        return R"([{"type":"file","path":"a","x":)" + std::string(depth, '[') +
               std::string(depth, ']') + "}]";
    };
    EXPECT_EQ(decodeListing(nested(10)).size(), 1U);
    EXPECT_EQ(refusal([&] { decodeListing(nested(1000)); }),
              URLError(URLError::Code::badServerResponse).what());
}

TEST(HubListing, refusesSizesThatAreNoNumberOfBytes)
{
    for (const auto* size :
         {"\"1\"", "1.5", "1e3", "[]", "true", "9223372036854775808", "18446744073709551616"}) {
        EXPECT_THAT(refusal([&] {
                        decodeListing(R"([{"type":"file","path":"a","size":)" + std::string(size) +
                                      "}]");
                    }),
                    HasSubstr("no number of bytes"))
            << size;
    }
}

TEST(HubListing, anEmptyListLacksAllFiveNamesInTheirOrder)
{
    EXPECT_THAT(missingNames({}),
                ElementsAre("Preprocessor.mlmodelc", "Encoder.mlmodelc", "Decoder.mlmodelc",
                            "JointDecisionv3.mlmodelc", "parakeet_v3_vocab.json"));
}

TEST(HubListing, aNameIsThereAsItselfOrAsAFolderOfAnyType)
{
    EXPECT_THAT(missingNames({{"directory", "Preprocessor.mlmodelc", std::nullopt},
                              file("Encoder.mlmodelc/weights/weight.bin"),
                              file("Decoder.mlmodelc.zip"),
                              file("old/JointDecisionv3.mlmodelc/model.mil"),
                              file("parakeet_v3_vocab.json")}),
                ElementsAre("Decoder.mlmodelc", "JointDecisionv3.mlmodelc"));
}

TEST(HubListing, selectsOnlyTheFilesOfTheModelInTheirOrder)
{
    EXPECT_THAT(selectedFiles({file("README.md"),
                               file("parakeet_v3_vocab.json", 5),
                               {"directory", "Encoder.mlmodelc", std::nullopt},
                               file("Encoder.mlmodelc/model.mil", 7),
                               file("parakeet_vocab.json"),
                               file("Encoder.mlmodelc.zip"),
                               file("Decoder.mlmodelc", 2)}),
                ElementsAre(file("parakeet_v3_vocab.json", 5),
                            file("Encoder.mlmodelc/model.mil", 7), file("Decoder.mlmodelc", 2)));
}

TEST(HubListing, whatIsNotSelectedMayBeCalledAnything)
{
    EXPECT_THAT(selectedFiles({file("/etc/passwd"), file("../x", -1), file("a\\b"), file("a\\b")}),
                IsEmpty());
}

TEST(HubListing, refusesPathsThatLeadOutOfTheFolderOrAreNoNames)
{
    using namespace std::string_literals;
    for (const auto& path :
         {"Encoder.mlmodelc/../../x"s, "Encoder.mlmodelc/.."s, "Encoder.mlmodelc/./x"s,
          "Encoder.mlmodelc//etc/passwd"s, "Encoder.mlmodelc/"s, "Encoder.mlmodelc/a\\..\\b"s,
          "Encoder.mlmodelc/a\0b"s, "Encoder.mlmodelc/a\nb"s, "Encoder.mlmodelc/\x7F"s,
          "Encoder.mlmodelc/" + std::string(256, 'x'),
          "Encoder.mlmodelc" + std::string(1000, '/')}) {
        EXPECT_THAT(refusedPath(path), HasSubstr(" is not allowed.")) << path.substr(0, 40);
    }
    std::string deep = "Encoder.mlmodelc";
    while (deep.size() <= 1000) {
        deep += "/ab";
    }
    EXPECT_THAT(refusedPath(deep), HasSubstr(" is not allowed."));
    EXPECT_EQ(refusedPath("Encoder.mlmodelc/weights/ä weight%20.bin"), "(not)");
    EXPECT_EQ(refusedPath("Encoder.mlmodelc/..."), "(not)");
}

TEST(HubListing, refusesFilesThatMeetOnSomeFileSystem)
{
    const auto both = [](const std::string& one, const std::string& other) {
        return refusal([&] {
            selectedFiles({file("Encoder.mlmodelc/" + one), file("Encoder.mlmodelc/" + other)});
        });
    };
    EXPECT_THAT(both("a", "a"), HasSubstr("twice"));
    EXPECT_THAT(both("a", "A"), HasSubstr("twice"));
    EXPECT_THAT(both("Ä", "ä"), HasSubstr("twice"));
    EXPECT_THAT(both("\xC3\xA4", "a\xCC\x88"), HasSubstr("twice"));
    EXPECT_THAT(both("a/x", "A/y"), HasSubstr("two spellings"));
    EXPECT_THAT(both("a", "a/b"), HasSubstr("both a file and a folder"));
    EXPECT_THAT(both("a/b/c", "A"), HasSubstr("both a file and a folder"));
    EXPECT_EQ(both("a/x", "a/y"), "(not)");
}

TEST(HubListing, refusesSizesThatCannotBeTrue)
{
    const auto size = [](std::int64_t bytes) {
        return refusal([&] { selectedFiles({file("Encoder.mlmodelc/a", bytes)}); });
    };
    EXPECT_THAT(size(-1), HasSubstr("cannot be true"));
    EXPECT_THAT(size(INT64_MIN), HasSubstr("cannot be true"));
    EXPECT_THAT(size((std::int64_t(1) << 40U) + 1), HasSubstr("cannot be true"));
    EXPECT_THAT(size(INT64_MAX), HasSubstr("cannot be true"));
    EXPECT_THAT(refusal([] {
                    selectedFiles({file("Encoder.mlmodelc/a", std::int64_t(1) << 40U),
                                   file("Encoder.mlmodelc/b", 1)});
                }),
                HasSubstr("cannot be true"));
    EXPECT_EQ(size(0), "(not)");
    EXPECT_EQ(size(3'000'000'000), "(not)");
}

TEST(HubListing, refusesMoreFilesThanAModelHas)
{
    std::vector<HubItem> items;
    for (int i = 0; i < 1000; ++i) {
        items.push_back(file("Encoder.mlmodelc/" + std::to_string(i)));
    }
    EXPECT_EQ(selectedFiles(items).size(), 1000U);
    items.push_back(file("Encoder.mlmodelc/last"));
    EXPECT_THAT(refusal([&] { selectedFiles(items); }), HasSubstr("more files"));
}

TEST(HubListing, theTotalCountsWhatIsKnownAndIsNeverZero)
{
    EXPECT_EQ(totalSize({file("a", 5), file("b", std::nullopt), file("c", 7)}), 12);
    EXPECT_EQ(totalSize({file("a", std::nullopt)}), 1);
    EXPECT_EQ(totalSize({}), 1);
}

TEST(HubAddress, joinsWithoutAnExtraSlashAndEncodesEachPart)
{
    EXPECT_EQ(listingAddress("https://hub", "owner/name"),
              "https://hub/api/models/owner/name/tree/main?recursive=true");
    EXPECT_EQ(listingAddress("https://hub", "/ö?/n#m/"),
              "https://hub/api/models/%C3%B6%3F/n%23m/tree/main?recursive=true");
    EXPECT_EQ(fileAddress("https://hub", "owner/name", "a b/c%2F?d=e"),
              "https://hub/owner/name/resolve/main/a%20b/c%252F%3Fd%3De");
    EXPECT_EQ(fileAddress("https://hub", "o/n", "x:y@z/-._~09AZaz"),
              "https://hub/o/n/resolve/main/x%3Ay%40z/-._~09AZaz");
}

TEST(HubAddress, aRepositoryHasTwoPartsThatAreNames)
{
    using namespace std::string_literals;
    for (const auto& good : {"owner/name"s, "/owner/name/"s, "a.b/..c"s, "ö/n"s}) {
        EXPECT_TRUE(isRepository(good)) << good;
    }
    for (const auto& bad :
         {""s, "owner"s, "a/b/c"s, "./name"s, "owner/.."s, "../.."s, "owner/na\0me"s, "owner/a\tb"s,
          "owner/a\x7F"s, "ow ner/name"s, "/"s, "owner/" + std::string(250, 'n')}) {
        EXPECT_FALSE(isRepository(bad)) << bad;
    }
}

} // namespace
} // namespace vorlin
