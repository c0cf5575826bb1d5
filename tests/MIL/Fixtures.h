#pragma once

#include "MIL/Model.h"
#include "MIL/Run/Npy.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace vorlin::mil::test {

/// The folder the fixture archives were unpacked into.
std::filesystem::path fixtures();

/// What a reference allows: absolute and relative error of each element, or root of the mean
/// squares with a bound on each element, or equality.
struct Tolerance {
    bool exact = false;
    double absolute = 0;
    double relative = 0;
    double rms = 0; // unused when 0
};

/// The empty string if the tensors agree, else what differs most.
std::string difference(const TensorType& type, const std::vector<std::byte>& bytes,
                       const NpyTensor& wanted, const Tolerance& tolerance);

/// Runs one entry of a cases.json, all predictions of its sequence. Returns what is wrong.
std::string runCase(const std::filesystem::path& folder, const nlohmann::json& entry,
                    const Model::Options& options, double allowance = 1);

} // namespace vorlin::mil::test
