#pragma once

#include <cstdint>
#include <filesystem>
#include <map>

namespace vorlin::mil::test {

/// Writes `weights/weight.bin` of a full-size program from the `blobs.json` beside it. Value i of
/// the record at offset M comes from z = mix(M + (i + 1) 0x9E3779B97F4A7C15), where mix is the
/// finaliser of splitmix64: bytes are z >> 56, floating numbers
/// bias + scale ((z >> 40) / 2^23 - 1), rounded once. A record marked "range" holds 0, 1, 2, ...
/// The numbers of those at an offset in `alike` are all what stands there.
void fillWeights(const std::filesystem::path& bundle,
                 const std::map<std::uint64_t, double>& alike = {});

} // namespace vorlin::mil::test
