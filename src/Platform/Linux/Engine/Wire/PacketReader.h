#pragma once

#include "Platform/Linux/Engine/Wire/Messages.h"

#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace vorlin::engine {

/// Reads values one after the other; once something is wrong, everything after it is, too.
class PacketReader {
public:
    explicit PacketReader(std::span<const std::byte> packet);

    template <class T>
        requires std::is_trivially_copyable_v<T>
    T number()
    {
        T value{};
        if (good && rest.size() >= sizeof value) {
            std::memcpy(&value, rest.data(), sizeof value);
            rest = rest.subspan(sizeof value);
        } else {
            good = false;
        }
        return value;
    }

    bool flag();
    std::string text();
    std::vector<Tensor> tensors();
    std::vector<Feature> features();
    std::vector<std::int64_t> lengths();

    void require(bool condition) { good = good && condition; }

    /// `message`, if it was read to the last byte and nothing was wrong.
    template <class Message, class Specific>
    std::optional<Message> finish(Specific message) const
    {
        return good && rest.empty() ? std::optional<Message>(std::move(message)) : std::nullopt;
    }

private:
    Element element();
    std::size_t count(std::size_t most, std::size_t least);
    Tensor tensor();
    Feature feature();

    std::span<const std::byte> rest;
    bool good;
};

} // namespace vorlin::engine
