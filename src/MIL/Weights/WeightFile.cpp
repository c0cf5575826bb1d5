#include "MIL/Weights/WeightFile.h"

#include "MIL/Error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

namespace vorlin::mil {

namespace {

constexpr std::size_t recordBytes = 64;
constexpr std::uint32_t fileVersion = 2;
constexpr std::uint32_t sentinel = 0xDEADBEEF;

template <class T>
T read(std::span<const std::byte> bytes, std::size_t at)
{
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof(T));
    return value;
}

/// The type that a record's code stands for.
std::optional<ElementType> typeOfCode(std::uint32_t code)
{
    using enum ElementType;
    constexpr std::array codes{fp16,  fp32,  uint8, int8,  bf16,  int16,  uint16,  int4,   uint1,
                               uint2, uint4, uint3, uint6, int32, uint32, fp8e4m3, fp8e5m2};
    return code >= 1 && code <= codes.size() ? std::optional(codes[code - 1]) : std::nullopt;
}

/// The elements a record holds, or nothing when its padding makes no sense.
std::optional<std::uint64_t> elementsOf(ElementType type, std::uint64_t bytes,
                                        std::uint64_t paddingBits)
{
    const std::size_t bits = bitsOf(type);
    if (bits >= 8) {
        return bytes % (bits / 8) == 0 ? std::optional(bytes / (bits / 8)) : std::nullopt;
    }
    if (paddingBits >= 8 || bytes > (std::uint64_t{1} << 60) || paddingBits > bytes * 8 ||
        (bytes * 8 - paddingBits) % bits != 0) {
        return std::nullopt;
    }
    return (bytes * 8 - paddingBits) / bits;
}

} // namespace

std::span<const std::byte> findRecord(std::span<const std::byte> file, std::uint64_t offset,
                                      const TensorType& type, const std::string& name)
{
    const auto refuse = [&](const std::string& why) {
        throw Error(name + ": the record at offset " + std::to_string(offset) + " " + why);
    };
    if (file.size() < recordBytes) {
        throw Error(name + ": the file is too short for its header");
    }
    if (const auto version = read<std::uint32_t>(file, 4); version != fileVersion) {
        throw Error(name + ": version " + std::to_string(version) + " is not supported, only 2 is");
    }
    if (offset % recordBytes != 0) {
        refuse("does not lie on a multiple of 64");
    }
    if (offset < recordBytes) {
        refuse("lies in the header");
    }
    if (offset > file.size() - recordBytes) {
        refuse("lies outside the file");
    }
    const auto record = file.subspan(static_cast<std::size_t>(offset), recordBytes);
    if (read<std::uint32_t>(record, 0) != sentinel) {
        refuse("has no sentinel");
    }
    const auto code = read<std::uint32_t>(record, 4);
    const auto stored = typeOfCode(code);
    if (!stored) {
        refuse("has the unknown element type " + std::to_string(code));
    }
    if (*stored != type.element) {
        refuse("holds " + std::string(nameOf(*stored)) + ", the text declares " + describe(type));
    }
    const auto size = read<std::uint64_t>(record, 8);
    const auto start = read<std::uint64_t>(record, 16);
    if (start > file.size() || size > file.size() - start) {
        refuse("has its data outside the file");
    }
    if (start % std::max<std::size_t>(1, bitsOf(type.element) / 8) != 0) {
        refuse("has unaligned data");
    }
    const auto elements = elementsOf(*stored, size, read<std::uint64_t>(record, 24));
    if (!elements) {
        refuse("has a size that is no number of elements");
    }
    if (*elements != static_cast<std::uint64_t>(elementCount(type.shape))) {
        refuse("holds " + std::to_string(*elements) + " elements, the text declares " +
               describe(type));
    }
    return file.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(size));
}

WeightFiles::WeightFiles(std::filesystem::path bundle, LinksOut linksOut)
    : bundle(std::move(bundle)), linksOut(linksOut)
{
}

std::span<const std::byte> WeightFiles::record(const std::string& path, std::uint64_t offset,
                                               const TensorType& type)
{
    return findRecord(open(path).bytes(), offset, type, path);
}

void WeightFiles::readIn(const std::atomic<bool>& stop) const
{
    for (const auto& [path, file] : files) {
        file.readIn(stop);
    }
}

std::size_t WeightFiles::mappedBytes() const
{
    std::size_t sum = 0;
    for (const auto& [path, file] : files) {
        sum += file.bytes().size();
    }
    return sum;
}

const MappedFile& WeightFiles::open(const std::string& path)
{
    if (const auto found = files.find(path); found != files.end()) {
        return found->second;
    }
    namespace fs = std::filesystem;
    constexpr std::string_view prefix = "@model_path/";
    const fs::path relative = path.starts_with(prefix) ? path.substr(prefix.size()) : path;
    const bool climbs =
        std::find(relative.begin(), relative.end(), fs::path("..")) != relative.end();
    if (relative.empty() || relative.is_absolute() || climbs ||
        path.find('\0') != std::string::npos) {
        throw Error("the weight file path '" + path + "' leaves the bundle");
    }
    std::error_code failure;
    const fs::path root = fs::canonical(bundle, failure);
    const fs::path resolved = failure ? fs::path() : fs::canonical(bundle / relative, failure);
    if (failure) {
        throw Error("the weight file '" + path + "' is missing: " + failure.message());
    }
    const auto [inRoot, inResolved] =
        std::mismatch(root.begin(), root.end(), resolved.begin(), resolved.end());
    if (inRoot == root.end()) {
        return files.emplace(path, MappedFile(resolved)).first->second;
    }
    if (linksOut == LinksOut::refused) {
        throw Error("the weight file path '" + path + "' leaves the bundle");
    }
    return files.emplace(path, MappedFile(bundle / relative)).first->second;
}

} // namespace vorlin::mil
