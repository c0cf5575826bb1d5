#include "Platform/Linux/Engine/Wire/PacketReader.h"

namespace vorlin::engine {

namespace {

constexpr std::size_t mostShapes = 4096;
/// The fewest bytes that one takes in a packet.
constexpr std::size_t smallestTensor = 17;
constexpr std::size_t smallestFeature = 10;

} // namespace

PacketReader::PacketReader(std::span<const std::byte> packet)
    : rest(packet), good(packet.size() <= largestMessage)
{
}

bool PacketReader::flag()
{
    const auto value = number<std::uint8_t>();
    require(value <= 1);
    return value == 1;
}

Element PacketReader::element()
{
    const auto value = number<std::uint8_t>();
    require(value <= static_cast<std::uint8_t>(Element::int32));
    return good ? static_cast<Element>(value) : Element::other;
}

/// How many items follow, each of at least `least` bytes.
std::size_t PacketReader::count(std::size_t most, std::size_t least)
{
    const std::size_t value = number<std::uint32_t>();
    require(value <= most && value <= rest.size() / least);
    return good ? value : 0;
}

std::string PacketReader::text()
{
    const std::size_t length = count(longestText, 1);
    std::string result(reinterpret_cast<const char*>(rest.data()), length);
    rest = rest.subspan(length);
    return result;
}

Tensor PacketReader::tensor()
{
    Tensor result;
    result.feature = number<std::uint32_t>();
    result.element = element();
    result.shape.resize(count(mostAxes, sizeof(std::int64_t)));
    for (auto& extent : result.shape) {
        extent = number<std::int64_t>();
    }
    result.offset = number<std::uint64_t>();
    require(result.feature < mostFeatures && result.offset % tensorAlignment == 0 &&
            byteCount(result.element, result.shape).has_value());
    return result;
}

Feature PacketReader::feature()
{
    Feature result;
    result.name = text();
    result.element = element();
    result.optional = flag();
    result.shapes.resize(count(mostShapes, sizeof(std::uint32_t)));
    for (auto& shape : result.shapes) {
        shape.resize(count(mostAxes, sizeof(Range)));
        for (auto& range : shape) {
            range.least = number<std::int64_t>();
            range.most = number<std::int64_t>();
            require(range.least >= 0 && range.most >= range.least);
        }
    }
    return result;
}

std::vector<Tensor> PacketReader::tensors()
{
    std::vector<Tensor> result(count(mostFeatures, smallestTensor));
    for (auto& item : result) {
        item = tensor();
    }
    return result;
}

std::vector<std::int64_t> PacketReader::lengths()
{
    std::vector<std::int64_t> result(count(mostLengths, sizeof(std::int64_t)));
    for (auto& length : result) {
        length = number<std::int64_t>();
        require(length > 0);
    }
    return result;
}

std::vector<Feature> PacketReader::features()
{
    std::vector<Feature> result(count(mostFeatures, smallestFeature));
    for (auto& item : result) {
        item = feature();
    }
    return result;
}

} // namespace vorlin::engine
