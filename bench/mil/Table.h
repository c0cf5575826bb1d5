#pragma once

#include <filesystem>

namespace vorlin::mil::bench {

/// Prints what is promised of the engine's speed and memory, each with its bar, of the model
/// folders with weights in half precision, with palettes of 6 bits and in 8 bits: medians of one
/// run, in which everything takes turns. Y is what oneDNN takes for the products of the encoder of
/// 15 s.
void printTable(const std::filesystem::path& halves, const std::filesystem::path& palettes,
                const std::filesystem::path& bytes, int rounds);

} // namespace vorlin::mil::bench
