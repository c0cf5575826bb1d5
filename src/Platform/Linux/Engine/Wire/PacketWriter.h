#pragma once

#include "Platform/Linux/Engine/Wire/MessageKind.h"
#include "Platform/Linux/Engine/Wire/Messages.h"

#include <string_view>
#include <type_traits>
#include <vector>

namespace vorlin::engine {

/// Writes values one after the other; lists and texts begin with their count.
class PacketWriter {
public:
    /// Writes into the memory of `memory`, as far as that reaches.
    PacketWriter(MessageKind kind, Packet memory);

    template <class T>
        requires std::is_trivially_copyable_v<T>
    void put(T value)
    {
        append(&value, sizeof value);
    }

    /// What is longer than `longestText` is cut off.
    void put(std::string_view text);
    void put(const Tensor& tensor);
    void put(const Feature& feature);

    template <class T>
    void put(const std::vector<T>& list)
    {
        putCount(list.size());
        for (const auto& item : list) {
            put(item);
        }
    }

    /// The packet; an empty one if it is larger than a packet may be.
    Packet take();

private:
    void append(const void* data, std::size_t size);
    void putCount(std::size_t count);

    Packet bytes;
};

} // namespace vorlin::engine
