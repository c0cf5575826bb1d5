#pragma once

#include "Platform/Linux/Engine/Wire/MessageKind.h"
#include "Platform/Linux/Engine/Wire/Messages.h"

#include <string_view>
#include <type_traits>
#include <utility>

namespace vorlin::engine {

/// Writes values one after the other; lists and texts begin with their count.
class PacketWriter {
public:
    explicit PacketWriter(MessageKind kind)
    {
        bytes.reserve(512);
        put(kind);
    }

    template <class T>
        requires std::is_trivially_copyable_v<T>
    void put(T value)
    {
        const auto* raw = reinterpret_cast<const std::byte*>(&value);
        bytes.insert(bytes.end(), raw, raw + sizeof value);
    }

    void put(std::string_view text)
    {
        text = text.substr(0, longestText);
        put(static_cast<std::uint32_t>(text.size()));
        const auto* raw = reinterpret_cast<const std::byte*>(text.data());
        bytes.insert(bytes.end(), raw, raw + text.size());
    }

    void put(const Tensor& tensor)
    {
        put(tensor.feature);
        put(tensor.element);
        putCount(tensor.shape.size());
        for (const auto extent : tensor.shape) {
            put(extent);
        }
        put(tensor.offset);
    }

    void put(const Feature& feature)
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

    template <class T>
    void put(const std::vector<T>& list)
    {
        putCount(list.size());
        for (const auto& item : list) {
            put(item);
        }
    }

    Packet take() { return bytes.size() <= largestMessage ? std::move(bytes) : Packet(); }

private:
    void putCount(std::size_t count) { put(static_cast<std::uint32_t>(count)); }

    Packet bytes;
};

} // namespace vorlin::engine
