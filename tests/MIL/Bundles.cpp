#include "Bundles.h"

#include <cstring>
#include <fstream>
#include <random>

namespace vorlin::mil::test {

namespace {

std::filesystem::path freshFolder()
{
    std::random_device random;
    const auto base = std::filesystem::temp_directory_path();
    std::filesystem::path path;
    do {
        path = base / ("vorlin-mil-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path));
    return path;
}

void write(const std::filesystem::path& path, const char* data, std::size_t size)
{
    std::ofstream(path, std::ios::binary).write(data, static_cast<std::streamsize>(size));
}

} // namespace

TemporaryFolder::TemporaryFolder() : path(freshFolder()) {}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

WeightBytes::WeightBytes() : bytes(64)
{
    set<std::uint32_t>(4, 2);
}

std::size_t WeightBytes::add(std::uint32_t code, const std::vector<std::byte>& payload,
                             std::uint64_t paddingBits)
{
    const std::size_t offset = bytes.size();
    bytes.resize(offset + 64);
    set<std::uint32_t>(offset, 0xDEADBEEF);
    set<std::uint32_t>(offset + 4, code);
    set<std::uint64_t>(offset + 8, payload.size());
    set<std::uint64_t>(offset + 16, offset + 64);
    set<std::uint64_t>(offset + 24, paddingBits);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    bytes.resize((bytes.size() + 63) / 64 * 64);
    return offset;
}

void writeBundle(const std::filesystem::path& folder, std::string_view text,
                 const std::vector<std::byte>& weights)
{
    std::filesystem::create_directories(folder / "weights");
    write(folder / "model.mil", text.data(), text.size());
    if (!weights.empty()) {
        write(folder / "weights" / "weight.bin", reinterpret_cast<const char*>(weights.data()),
              weights.size());
    }
}

std::string programOf(std::string_view type, std::string_view body, std::string_view opset)
{
    return "program(1.3)\n{\n    func main<" + std::string(opset) + ">(" + std::string(type) +
           " x) {\n" + std::string(body) + "\n        } -> (y);\n}\n";
}

TensorView viewOf(const std::vector<float>& values, const Shape& shape)
{
    return {{ElementType::fp32, shape}, reinterpret_cast<const std::byte*>(values.data())};
}

std::vector<float> floatsOf(const NamedOutput& output)
{
    std::vector<float> values(output.bytes.size() / sizeof(float));
    if (!values.empty()) {
        std::memcpy(values.data(), output.bytes.data(), output.bytes.size());
    }
    return values;
}

} // namespace vorlin::mil::test
