// Every program of the fixtures against the outputs that the original framework computed.
#include "Fixtures.h"

#include <gtest/gtest.h>

#include <fstream>

namespace vorlin::mil::test {

namespace {

nlohmann::json casesOf(const std::filesystem::path& folder)
{
    return nlohmann::json::parse(std::ifstream(folder / "cases.json"));
}

void runAll(const std::string& group, const Model::Options& options, std::size_t expected)
{
    const std::filesystem::path folder = fixtures() / group;
    const nlohmann::json cases = casesOf(folder);
    EXPECT_EQ(cases.size(), expected);
    for (const nlohmann::json& entry : cases) {
        const auto name = entry.at("case").get<std::string>();
        try {
            EXPECT_EQ(runCase(folder, entry, options), "") << name;
        } catch (const std::exception& error) {
            ADD_FAILURE() << name << ": " << error.what();
        }
    }
}

} // namespace

TEST(ReferenceTest, everyOperationAgrees)
{
    runAll("ops", {.threads = 2}, 379);
}

TEST(ReferenceTest, everyOperationAgreesInPlainKernels)
{
    runAll("ops", {.threads = 1, .referenceKernels = true}, 379);
}

TEST(ReferenceTest, everyPartAgrees)
{
    runAll("parts", {.threads = 2}, 45);
}

TEST(ReferenceTest, everyPartAgreesOnOneThread)
{
    runAll("parts", {.threads = 1}, 45);
}

// Each form of narrow products that this processor has, whichever fits it.

TEST(ReferenceTest, everyOperationAndPartAgreesInNarrowVectors)
{
    runAll("ops", {.threads = 1, .sumVectors = SumVectors::narrow}, 379);
    runAll("parts", {.threads = 1, .sumVectors = SumVectors::narrow}, 45);
}

TEST(ReferenceTest, everyOperationAndPartAgreesInTheWidestVectors)
{
    runAll("ops", {.threads = 1, .sumVectors = SumVectors::widest}, 379);
    runAll("parts", {.threads = 1, .sumVectors = SumVectors::widest}, 45);
}

} // namespace vorlin::mil::test
