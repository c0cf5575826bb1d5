#include "Models/HubListing.h"
#include "Ports/URLError.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string_view>

namespace {

void require(bool condition, const char* claim)
{
    if (!condition) {
        std::fprintf(stderr, "this does not hold: %s\n", claim);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin;
    try {
        const auto items = decodeListing({reinterpret_cast<const char*>(data), size});
        require(missingNames(items).size() <= 5, "five names can be missing");
        const auto files = selectedFiles(items);
        std::set<std::filesystem::path> places;
        for (const auto& file : files) {
            const std::filesystem::path path("/model/" + file.path);
            require(path.lexically_normal() == path, "a path leads where it says");
            require(path.native().starts_with("/model/"), "a path stays in its folder");
            require(places.insert(path).second, "each file has a place of its own");
            require(file.size.value_or(0) >= 0, "no size is negative");
        }
        for (const auto& place : places) {
            require(!places.contains(place.parent_path()), "no file is another's folder");
        }
        require(totalSize(files) >= 1, "a share can be computed");
    } catch (const URLError&) {
        return 0;
    }
    return 0;
}
