#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorlin {

/// The seeds of a simulation's runs: `count` of them from `first` on, or from $VORLIN_SEED on
/// where that is set, so that every run of the tests need not be the same. Ends the program with
/// one line where that is no number.
std::vector<std::uint64_t> simulationSeeds(std::uint64_t first, std::uint64_t count);

/// How to run the test that is running with nothing but `seed`, for its failure to tell.
std::string replay(std::uint64_t seed);

} // namespace vorlin
