#include "simulation/Seeds.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using Seeds = std::vector<std::uint64_t>;

/// Leaves the seed that was given to the run as it was.
class SimulationSeeds : public testing::TestWithParam<int> {
protected:
    SimulationSeeds()
    {
        if (const char* given = std::getenv("VORLIN_SEED")) {
            before = given;
        }
    }
    ~SimulationSeeds() override
    {
        if (before) {
            ::setenv("VORLIN_SEED", before->c_str(), 1);
        } else {
            ::unsetenv("VORLIN_SEED");
        }
    }

    std::optional<std::string> before;
};

TEST_P(SimulationSeeds, areTheSameEveryTimeUnlessTheFirstIsGivenFromOutside)
{
    ::unsetenv("VORLIN_SEED");
    EXPECT_EQ(simulationSeeds(1, 3), (Seeds{1, 2, 3}));
    ::setenv("VORLIN_SEED", "4000000000", 1);
    EXPECT_EQ(simulationSeeds(1, 3), (Seeds{4000000000, 4000000001, 4000000002}));
}

TEST_P(SimulationSeeds, aSeedThatIsNoNumberEndsTheRunWithOneLine)
{
    for (const char* text : {"", "seven", "7x", " 7", "-7", "18446744073709551616"}) {
        ::setenv("VORLIN_SEED", text, 1);
        EXPECT_EXIT(simulationSeeds(1, 3), testing::ExitedWithCode(1),
                    "^VORLIN_SEED is \"" + std::string(text) +
                        "\", and no number from 0 to 18446744073709551615\\.\n$");
    }
}

TEST_P(SimulationSeeds, aFailureSaysHowToRunItsSeedAlone)
{
    EXPECT_EQ(replay(17), "replay: VORLIN_SEED=17 core_tests --gtest_filter=Two/SimulationSeeds."
                          "aFailureSaysHowToRunItsSeedAlone/0");
}

INSTANTIATE_TEST_SUITE_P(Two, SimulationSeeds, testing::Values(1, 2));

} // namespace
} // namespace vorlin
