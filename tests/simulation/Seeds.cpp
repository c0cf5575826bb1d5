#include "simulation/Seeds.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <numeric>
#include <string_view>

namespace vorlin {

namespace {

/// The number that the whole of `text` is; for any other text the run of the tests ends, since
/// what it says of its seeds would not be true.
std::uint64_t seedIn(std::string_view text)
{
    std::uint64_t seed = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, seed);
    if (error != std::errc() || stopped != end) {
        std::cerr << "VORLIN_SEED is \"" << text << "\", and no number from 0 to "
                  << std::numeric_limits<std::uint64_t>::max() << '.' << std::endl;
        std::exit(1); // NOLINT(concurrency-mt-unsafe): at start
    }
    return seed;
}

} // namespace

std::vector<std::uint64_t> simulationSeeds(std::uint64_t first, std::uint64_t count)
{
    const char* given = std::getenv("VORLIN_SEED"); // NOLINT(concurrency-mt-unsafe): at start
    std::vector<std::uint64_t> seeds(count);
    std::iota(seeds.begin(), seeds.end(), given == nullptr ? first : seedIn(given));
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
