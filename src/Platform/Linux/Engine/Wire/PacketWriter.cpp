#include "Platform/Linux/Engine/Wire/PacketWriter.h"

#include <utility>

namespace vorlin::engine {

namespace {

/// Most messages take less.
constexpr std::size_t usualSize = 512;

} // namespace

PacketWriter::PacketWriter(MessageKind kind, Packet memory) : bytes(std::move(memory))
{
    bytes.clear();
    bytes.reserve(usualSize);
    put(kind);
}

void PacketWriter::put(std::string_view text)
{
    text = text.substr(0, longestText);
    putCount(text.size());
    append(text.data(), text.size());
}

void PacketWriter::put(const Tensor& tensor)
{
    put(tensor.feature);
    put(tensor.element);
    put(tensor.shape);
    put(tensor.offset);
}

void PacketWriter::put(const Feature& feature)
{
    put(std::string_view(feature.name));
    put(feature.element);
    put(static_cast<std::uint8_t>(feature.optional));
    putCount(feature.shapes.size());
    for (const auto& shape : feature.shapes) {
        putCount(shape.size());
        for (const auto& range : shape) {
            put(range.least);
            put(range.most);
        }
    }
}

Packet PacketWriter::take()
{
    return bytes.size() <= largestMessage ? std::move(bytes) : Packet();
}

void PacketWriter::append(const void* data, std::size_t size)
{
    const auto* raw = static_cast<const std::byte*>(data);
    bytes.insert(bytes.end(), raw, raw + size);
}

void PacketWriter::putCount(std::size_t count)
{
    put(static_cast<std::uint32_t>(count));
}

} // namespace vorlin::engine
