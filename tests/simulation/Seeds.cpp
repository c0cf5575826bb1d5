#include "simulation/Seeds.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>

namespace vorlin {

std::vector<std::uint64_t> simulationSeeds(std::uint64_t first, std::uint64_t count)
{
    const char* given = std::getenv("VORLIN_SEED"); // NOLINT(concurrency-mt-unsafe): at start
    std::vector<std::uint64_t> seeds(count);
    std::iota(seeds.begin(), seeds.end(),
              given == nullptr ? first : std::strtoull(given, nullptr, 10));
    return seeds;
}

std::string replay(std::uint64_t seed)
{
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = test->name();
    const auto index = name.rfind('/');
    if (index != std::string::npos) {
        name.replace(index, std::string::npos, "/0"); // the first run is that of the seed given
    }
    return "replay: VORLIN_SEED=" + std::to_string(seed) +
           " core_tests --gtest_filter=" + test->test_suite_name() + "." + name;
}

} // namespace vorlin
