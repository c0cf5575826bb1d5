#include "MIL/Run/Npy.h"

#include "MIL/Error.h"
#include "MIL/Weights/MappedFile.h"

#include <charconv>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace vorlin::mil {

namespace {

struct Code {
    std::string_view text;
    ElementType type;
};

constexpr Code codes[] = {
    {"<f2", ElementType::fp16},    {"<f4", ElementType::fp32},   {"<f8", ElementType::fp64},
    {"|b1", ElementType::boolean}, {"|i1", ElementType::int8},   {"<i2", ElementType::int16},
    {"<i4", ElementType::int32},   {"<i8", ElementType::int64},  {"|u1", ElementType::uint8},
    {"<u2", ElementType::uint16},  {"<u4", ElementType::uint32}, {"<u8", ElementType::uint64},
};

[[noreturn]] void refuse(const std::filesystem::path& path, const std::string& why)
{
    throw Error(path.string() + ": " + why);
}

/// What stands behind a key of the header's dictionary, blanks removed.
std::string_view field(std::string_view header, std::string_view key)
{
    std::size_t at = header.find("'" + std::string(key) + "'");
    at = at == std::string_view::npos ? at : header.find(':', at);
    if (at == std::string_view::npos) {
        return {};
    }
    at = header.find_first_not_of(' ', at + 1);
    return at == std::string_view::npos ? std::string_view() : header.substr(at);
}

std::optional<Shape> parseShape(std::string_view text)
{
    Shape shape;
    if (!text.starts_with('(')) {
        return std::nullopt;
    }
    text.remove_prefix(1);
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(" ,"), text.size()));
        if (text.starts_with(')')) {
            return shape;
        }
        std::int64_t extent = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), extent);
        if (error != std::errc() || extent < 0 || shape.size() == Extents::maximumRank) {
            return std::nullopt;
        }
        shape.push(extent);
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
}

/// From first-axis-fastest order to last-axis-fastest.
std::vector<std::byte> reordered(const TensorType& type, std::span<const std::byte> in)
{
    std::vector<std::byte> out(in.size());
    const std::size_t bytes = bitsOf(type.element) / 8;
    const std::int64_t count = elementCount(type.shape);
    for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t rest = i;
        std::int64_t from = 0;
        for (std::size_t axis = type.shape.size(); axis-- > 0;) {
            from += rest % type.shape[axis] * product(type.shape, 0, axis);
            rest /= type.shape[axis];
        }
        std::memcpy(out.data() + static_cast<std::size_t>(i) * bytes,
                    in.data() + static_cast<std::size_t>(from) * bytes, bytes);
    }
    return out;
}

} // namespace

NpyTensor readNpy(const std::filesystem::path& path)
{
    const MappedFile file(path);
    const std::string_view text = file.text();
    constexpr std::string_view magic = "\x93NUMPY";
    if (!text.starts_with(magic) || text.size() < 12) {
        refuse(path, "is no .npy file");
    }
    const auto byteAt = [&](std::size_t i) {
        return static_cast<std::size_t>(static_cast<unsigned char>(text[i]));
    };
    if (byteAt(6) < 1 || byteAt(6) > 3) {
        refuse(path, "is of a version of .npy that is not known");
    }
    const bool longLength = text[6] != 1;
    std::size_t length = byteAt(8) | byteAt(9) << 8;
    if (longLength) {
        length |= byteAt(10) << 16 | byteAt(11) << 24;
    }
    const std::size_t start = longLength ? 12 : 10;
    if (length > text.size() - start) {
        refuse(path, "is cut short");
    }
    const std::string_view header = text.substr(start, length);
    const std::string_view description = field(header, "descr");
    const std::string_view order = field(header, "fortran_order");
    const auto shape = parseShape(field(header, "shape"));
    NpyTensor tensor;
    bool known = false;
    for (const Code& code : codes) {
        if (description.size() > 4 && description.substr(1, 3) == code.text) {
            tensor.type.element = code.type;
            known = true;
        }
    }
    if (!known || !shape || !(order.starts_with("True") || order.starts_with("False"))) {
        refuse(path, "has a type, byte order or shape that is not supported");
    }
    tensor.type.shape = *shape;
    const std::size_t bytes = byteCount(tensor.type);
    const auto payload = file.bytes().subspan(start + length);
    if (bytes > payload.size()) {
        refuse(path, "is cut short");
    }
    const bool fortran = order.starts_with("True");
    const auto data = payload.first(bytes);
    tensor.bytes =
        fortran ? reordered(tensor.type, data) : std::vector<std::byte>(data.begin(), data.end());
    return tensor;
}

void writeNpy(const std::filesystem::path& path, const TensorType& type,
              std::span<const std::byte> bytes)
{
    std::string_view code;
    for (const Code& candidate : codes) {
        code = candidate.type == type.element ? candidate.text : code;
    }
    if (code.empty()) {
        refuse(path, "cannot hold " + describe(type));
    }
    std::string shape;
    for (std::int64_t extent : type.shape) {
        shape += std::to_string(extent) + ", ";
    }
    if (type.shape.size() > 1) {
        shape.resize(shape.size() - 2);
    } else if (type.shape.size() == 1) {
        shape.resize(shape.size() - 1);
    }
    std::string header = "{'descr': '" + std::string(code) +
                         "', 'fortran_order': False, 'shape': (" + shape + "), }";
    constexpr std::size_t alignment = 64;
    header.append((alignment - (10 + header.size() + 1) % alignment) % alignment, ' ');
    header.push_back('\n');
    std::ofstream file(path, std::ios::binary);
    file.write("\x93NUMPY\x01\x00", 8);
    file.put(static_cast<char>(header.size() % 256));
    file.put(static_cast<char>(header.size() / 256));
    file << header;
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
        refuse(path, "cannot be written");
    }
}

} // namespace vorlin::mil
