#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

/// What the program and its engine process say to each other: one message a packet, numbers as
/// this machine has them. Neither side trusts the other: a parser takes any bytes and returns
/// nothing for what is no message, and what it returns keeps every limit below.
namespace vorlin::engine {

/// Both programs come from one build; this tells when they do not.
inline constexpr std::uint32_t protocolVersion = 5;
/// No packet is larger.
inline constexpr std::size_t largestMessage = std::size_t{64} << 10;
inline constexpr std::size_t mostAxes = 12;
inline constexpr std::size_t mostFeatures = 256;
inline constexpr std::size_t longestText = 4096;
inline constexpr std::size_t mostLengths = 16;
/// No tensor, and no shared memory, is larger.
inline constexpr std::uint64_t largestMemory = std::uint64_t{4} << 30;
/// Where tensors begin in shared memory: at multiples of this.
inline constexpr std::uint64_t tensorAlignment = 64;

/// The element types that cross; `other` stands for all that do not.
enum class Element : std::uint8_t { other, float32, float16, int32 };

struct Range {
    std::int64_t least = 0;
    std::int64_t most = 0; // not below `least`, which is not below 0

    bool operator==(const Range&) const = default;
};

/// An input or output as the model declares it; any one of `shapes`.
struct Feature {
    std::string name;
    Element element = Element::other;
    bool optional = false;
    std::vector<std::vector<Range>> shapes;

    bool operator==(const Feature&) const = default;
};

/// A tensor in the shared memory: dense, row-major.
struct Tensor {
    std::uint32_t feature = 0; // position in the signature
    Element element = Element::other;
    std::vector<std::int64_t> shape;
    std::uint64_t offset = 0; // aligned

    bool operator==(const Tensor&) const = default;
};

/// Which input holds frames along an axis, which one says how many count, and how many it may be
/// worth computing. Without a name in `data`: none.
struct Frames {
    std::string data;
    std::uint32_t axis = 0;
    std::string length;
    std::vector<std::int64_t> lengths;

    bool operator==(const Frames&) const = default;
};

// --- From the program, on the control channel ---

/// Load `bundle`, a name in the model folder. The model's own channel comes along.
struct LoadRequest {
    std::uint32_t version = protocolVersion;
    std::uint32_t model = 0;
    std::uint32_t threads = 1;
    bool background = false;
    /// Large products in 8 bits, where this processor multiplies such.
    bool integers = false;
    std::string bundle;
    Frames frames{};

    bool operator==(const LoadRequest&) const = default;
};

/// Stop the prediction `sequence` of a model, or the one that will have that number.
struct StopRequest {
    std::uint32_t model = 0;
    std::uint64_t sequence = 0;

    bool operator==(const StopRequest&) const = default;
};

using ControlRequest = std::variant<LoadRequest, StopRequest>;

// --- From the program, on a model's channel ---

/// Compute. Outputs go to the shared memory from `outputs` on.
struct PredictRequest {
    std::uint64_t sequence = 0; // grows by one
    bool background = false;
    std::int64_t frames = 0;  // how many to compute of those the model declares; 0: all
    std::uint64_t memory = 0; // bytes of the shared memory that comes along; 0: the one at hand
    std::uint64_t outputs = 0;
    std::vector<Tensor> inputs;

    bool operator==(const PredictRequest&) const = default;
};

/// Here is the memory that the outputs of `sequence` wanted.
struct ResumeRequest {
    std::uint64_t sequence = 0;
    std::uint64_t memory = 0;
    std::uint64_t outputs = 0;

    bool operator==(const ResumeRequest&) const = default;
};

using ModelRequest = std::variant<PredictRequest, ResumeRequest>;

// --- From the engine, on a model's channel ---

struct LoadedReply {
    std::vector<Feature> inputs;
    std::vector<Feature> outputs;

    bool operator==(const LoadedReply&) const = default;
};

struct ComputedReply {
    std::uint64_t sequence = 0;
    std::vector<Tensor> outputs;

    bool operator==(const ComputedReply&) const = default;
};

/// The outputs take `bytes`, which is more than there is room for.
struct NeedsMemoryReply {
    std::uint64_t sequence = 0;
    std::uint64_t bytes = 0;

    bool operator==(const NeedsMemoryReply&) const = default;
};

struct StoppedReply {
    std::uint64_t sequence = 0;

    bool operator==(const StoppedReply&) const = default;
};

/// Loading (sequence 0) or predicting failed; `text` says why in one line.
struct FailedReply {
    std::uint64_t sequence = 0;
    std::string text;
    /// The model does not know the length it was asked for, and never will.
    bool noSuchLength = false;

    bool operator==(const FailedReply&) const = default;
};

using Reply = std::variant<LoadedReply, ComputedReply, NeedsMemoryReply, StoppedReply, FailedReply>;

using Packet = std::vector<std::byte>;

/// A message as a packet, in the memory of another one that is no longer needed. One that is too
/// large for a packet becomes an empty one.
Packet encode(const ControlRequest& message, Packet memory = {});
Packet encode(const ModelRequest& message, Packet memory = {});
Packet encode(const Reply& message, Packet memory = {});

std::optional<ControlRequest> parseControlRequest(std::span<const std::byte> packet);
std::optional<ModelRequest> parseModelRequest(std::span<const std::byte> packet);
std::optional<Reply> parseReply(std::span<const std::byte> packet);

/// Bytes of one element; 0 for `other`.
std::size_t bytesOf(Element element);

/// Bytes of a tensor; nothing beyond `largestMemory`, for negative extents or `other` elements.
std::optional<std::uint64_t> byteCount(Element element, std::span<const std::int64_t> shape);

/// The first aligned offset at or after `offset`.
constexpr std::uint64_t aligned(std::uint64_t offset)
{
    return (offset + tensorAlignment - 1) / tensorAlignment * tensorAlignment;
}

/// Whether a tensor lies in [begin, end) of the shared memory.
bool liesWithin(const Tensor& tensor, std::uint64_t begin, std::uint64_t end);

} // namespace vorlin::engine
