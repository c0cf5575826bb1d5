#pragma once

#include <Foundation/Foundation.h>

#include <cstdint>
#include <vector>

namespace vorlin {

inline std::vector<std::uint8_t> bytesOf(NSData* data)
{
    const auto* const first = static_cast<const std::uint8_t*>(data.bytes);
    return first != nullptr ? std::vector<std::uint8_t>(first, first + data.length)
                            : std::vector<std::uint8_t>();
}

inline NSData* nsData(const std::vector<std::uint8_t>& bytes)
{
    return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

} // namespace vorlin
