// A weight file, searched for records of every type and size.
#include "MIL/Error.h"
#include "MIL/Weights/WeightFile.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin::mil;
    const std::span file(reinterpret_cast<const std::byte*>(data), size);
    for (std::uint64_t offset = 0; offset <= size + 64; offset += 64) {
        for (int type = 0; type <= static_cast<int>(ElementType::uint64); ++type) {
            const auto element = static_cast<ElementType>(type);
            // The number of elements that the record would have if it were right.
            std::int64_t count = 1;
            if (offset + 16 <= size && bitsOf(element) != 0) {
                std::uint64_t bytes = 0;
                std::memcpy(&bytes, data + offset + 8, 8);
                count = static_cast<std::int64_t>(bytes % (1u << 30)) * 8 /
                        static_cast<std::int64_t>(bitsOf(element));
            }
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
