#pragma once

#include "Platform/Linux/Engine/Wire/Messages.h"

#include <cstring>
#include <type_traits>
#include <utility>

namespace vorlin::engine {

/// Reads values one after the other; once something is wrong, everything after it is, too.
class PacketReader {
public:
    explicit PacketReader(std::span<const std::byte> packet)
        : rest(packet), good(packet.size() <= largestMessage)
    {
    }

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

    bool flag()
    {
        const auto value = number<std::uint8_t>();
        require(value <= 1);
        return value == 1;
    }

    Element element()
    {
        const auto value = number<std::uint8_t>();
        require(value <= static_cast<std::uint8_t>(Element::int32));
        return good ? static_cast<Element>(value) : Element::other;
    }

    /// How many items follow, each of at least `least` bytes.
    std::size_t count(std::size_t most, std::size_t least)
    {
        const std::size_t value = number<std::uint32_t>();
        require(value <= most && value <= rest.size() / least);
        return good ? value : 0;
    }

    std::string text()
    {
        const std::size_t length = count(longestText, 1);
        std::string result(reinterpret_cast<const char*>(rest.data()), length);
        rest = rest.subspan(length);
        return result;
    }

    Tensor tensor()
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

    Feature feature()
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

    std::vector<Tensor> tensors()
    {
        std::vector<Tensor> result(count(mostFeatures, 17));
        for (auto& item : result) {
            item = tensor();
        }
        return result;
    }

    std::vector<Feature> features()
    {
        std::vector<Feature> result(count(mostFeatures, 10));
        for (auto& item : result) {
            item = feature();
        }
        return result;
    }

    void require(bool condition) { good = good && condition; }

    /// `message`, if it was read to the last byte and nothing was wrong.
    template <class Message, class Specific>
    std::optional<Message> finish(Specific message) const
    {
        return good && rest.empty() ? std::optional<Message>(std::move(message)) : std::nullopt;
    }

private:
    static constexpr std::size_t mostShapes = 4096;

    std::span<const std::byte> rest;
    bool good;
};

} // namespace vorlin::engine
