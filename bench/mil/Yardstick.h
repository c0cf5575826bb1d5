#pragma once

#include "MIL/Weights/MappedFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace vorlin::mil::bench {

/// The products of the full-size encoder for 15 s of audio, computed by oneDNN in single
/// precision with weights packed beforehand: what the machine can do with the same arithmetic.
class EncoderProducts {
public:
    EncoderProducts();
    EncoderProducts(const EncoderProducts&) = delete;
    EncoderProducts& operator=(const EncoderProducts&) = delete;
    ~EncoderProducts();

    /// Computes all of them once, one after the other.
    void run();
    /// Floating-point operations of one run.
    double operations() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

/// The weights of a model that a step reads, as they lie in the mapped file.
class PlainSum {
public:
    /// The last `bytes` of the bundle's weight file: what precedes them is looked up, not read.
    PlainSum(const std::filesystem::path& bundle, std::size_t bytes);

    /// Reads every byte: a plain vectorised sum.
    std::uint64_t run() const;

private:
    MappedFile file;
    std::span<const std::uint64_t> words;
};

} // namespace vorlin::mil::bench
