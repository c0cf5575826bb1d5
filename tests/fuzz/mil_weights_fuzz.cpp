// A weight file, searched for records of the type they claim to be and of one other.
#include "MIL/Error.h"
#include "MIL/Weights/WeightFile.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin::mil;
    const std::span file(reinterpret_cast<const std::byte*>(data), size);
    constexpr ElementType types[] = {ElementType::fp16,   ElementType::fp32,  ElementType::uint8,
                                     ElementType::int8,   ElementType::bf16,  ElementType::int16,
                                     ElementType::uint16, ElementType::int4,  ElementType::uint1,
                                     ElementType::uint2,  ElementType::uint4, ElementType::uint3,
                                     ElementType::uint6,  ElementType::int32, ElementType::uint32};
    constexpr std::uint64_t mostRecords = 32;
    for (std::uint64_t offset = 0; offset <= size + 64 && offset < mostRecords * 64; offset += 64) {
        std::uint32_t code = 1;
        std::uint64_t bytes = 0;
        if (offset + 16 <= size) {
            std::memcpy(&code, data + offset + 4, 4);
            std::memcpy(&bytes, data + offset + 8, 8);
        }
        for (const std::uint32_t index : {code - 1, code}) {
            const ElementType element = types[index % std::size(types)];
            // The number of elements that the record would have if it were right.
            const std::int64_t count = static_cast<std::int64_t>(bytes % (1u << 30)) * 8 /
                                       static_cast<std::int64_t>(bitsOf(element));
            try {
                const auto payload = findRecord(file, offset, {element, {count}}, "fuzz");
                const auto* const begin = file.data();
                if (payload.data() < begin || payload.size() > size ||
                    payload.data() + payload.size() > begin + size) {
                    std::abort();
                }
            } catch (const Error&) {
            }
        }
    }
    return 0;
}
