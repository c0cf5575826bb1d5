#include "Platform/Linux/Speech/LanguageModelFile.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace vorlin {

namespace {

constexpr std::string_view magic = "Trie Language Model";

std::uint32_t numberAt(std::string_view bytes, std::size_t position)
{
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + position, sizeof number);
    return number;
}

/// The words end the file: their length in bytes, then each with a zero behind it.
bool endsWithWords(std::string_view bytes, std::uint32_t words)
{
    if (words == 0 || bytes.back() != '\0') {
        return false;
    }
    std::size_t zero = bytes.size();
    for (std::uint32_t i = 0; i < words; ++i) {
        zero = zero == 0 ? std::string_view::npos : bytes.rfind('\0', zero - 1);
        if (zero == std::string_view::npos) {
            return false;
        }
    }
    // `zero` ends the first word, whose begin shows by the length in front of it.
    constexpr std::size_t longestWord = 1000;
    for (std::size_t length = 0; length < longestWord && zero >= length + 4; ++length) {
        const std::size_t begin = zero - length;
        if (numberAt(bytes, begin - 4) == bytes.size() - begin) {
            return true;
        }
    }
    return false;
}

} // namespace

bool isCompleteLanguageModel(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    // The library reads the numbers of this form as little endian ones only.
    if (!bytes.starts_with(magic) || std::endian::native != std::endian::little) {
        return true;
    }
    constexpr std::size_t countOfWords = magic.size() + 1; // past the order, one byte
    return bytes.size() > countOfWords + 4 && endsWithWords(bytes, numberAt(bytes, countOfWords));
}

} // namespace vorlin
