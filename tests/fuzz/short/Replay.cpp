// Drives a fuzz target without libFuzzer: MUTATIONS FILE FOLDER... runs every input of the
// folders, then that many mutations of them. Before each run the input is written to FILE, so
// that the one that ends the process is at hand. The same arguments make the same inputs.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::string;

std::vector<Input> readAll(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    std::error_code absent;
    for (const auto& entry : std::filesystem::directory_iterator(folder, absent)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end()); // the order of a folder is anybody's
    std::vector<Input> inputs;
    for (const auto& file : files) {
        std::ifstream in(file, std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return inputs;
}

class Mutator {
public:
    explicit Mutator(const std::vector<Input>& inputs) : inputs(inputs) {}

    Input next()
    {
        Input input = inputs[below(inputs.size())];
        for (std::size_t i = 0; i <= below(4); ++i) {
            change(input);
        }
        return input;
    }

private:
    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random() % limit; }

    void change(Input& input)
    {
        const std::size_t at = below(input.size());
        const std::size_t length = std::min(below(32) + 1, input.size() - at);
        switch (below(7)) {
        case 0: // another byte
            if (!input.empty()) {
                input[at] = static_cast<char>(random());
            }
            break;
        case 1: input.erase(at, length); break;
        case 2: input.insert(at, input.substr(at, length)); break;
        case 3: input.resize(at); break;
        case 4: { // a piece of another input
            const Input& other = inputs[below(inputs.size())];
            const std::size_t from = below(other.size());
            input.replace(at, length, other.substr(from, below(64)));
            break;
        }
        case 5: changeNumber(input, at); break;
        default: input.insert(at, words[below(std::size(words))]); break;
        }
    }

    /// The number behind a place becomes one that is likely to hurt.
    void changeNumber(Input& input, std::size_t at)
    {
        const std::size_t first = input.find_first_of("0123456789", at);
        if (first == Input::npos) {
            return;
        }
        const std::size_t end =
            std::min(input.find_first_not_of("0123456789", first), input.size());
        input.replace(first, end - first, numbers[below(std::size(numbers))]);
    }

    static constexpr const char* numbers[] = {
        "0",   "1",          "2",          "3",          "-1",
        "255", "2147483647", "2147483648", "4294967296", "9223372036854775807"};
    static constexpr const char* words[] = {"?",
                                            "[",
                                            "]",
                                            "(",
                                            ")",
                                            "{",
                                            "}",
                                            ",",
                                            "tensor<fp32, [2]>",
                                            "uint4",
                                            "true",
                                            "0x1p+0",
                                            "nan",
                                            "BLOBFILE",
                                            "//",
                                            "\"",
                                            "\xff\xff\xff\xff",
                                            "\xef\xbe\xad\xde"};

    const std::vector<Input>& inputs;
    std::mt19937_64 random{20260101}; // NOLINT(cert-msc32-c, cert-msc51-cpp): on purpose
};

void run(const Input& input, const char* current)
{
    std::ofstream(current, std::ios::binary) << input;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

} // namespace

int main(int count, char** arguments)
{
    if (count < 4) {
        std::fprintf(stderr, "usage: %s MUTATIONS FILE FOLDER...\n", arguments[0]);
        return 1;
    }
    std::vector<Input> inputs;
    for (int i = 3; i < count; ++i) {
        const std::vector<Input> more = readAll(arguments[i]);
        inputs.insert(inputs.end(), more.begin(), more.end());
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "there are no inputs\n");
        return 1;
    }
    for (const Input& input : inputs) {
        run(input, arguments[2]);
    }
    Mutator mutator(inputs);
    const long mutations = std::strtol(arguments[1], nullptr, 10);
    for (long i = 0; i < mutations; ++i) {
        run(mutator.next(), arguments[2]);
    }
    std::filesystem::remove(arguments[2]);
    std::printf("%zu inputs and %ld mutations\n", inputs.size(), mutations);
    return 0;
}
