#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

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

/// Reads every byte: a plain vectorised sum.
std::uint64_t sumOf(const std::vector<std::uint64_t>& words);

} // namespace vorlin::mil::bench
