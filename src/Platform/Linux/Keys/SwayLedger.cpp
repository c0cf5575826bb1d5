#include "Platform/Linux/Keys/SwayLedger.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace vorlin {

namespace {

constexpr std::string_view firstWord = "vorlin-bindings-1";
/// Some hundred bindings in a few modes take some ten thousand.
constexpr std::size_t mostBytes = std::size_t{1} << 20U;

} // namespace

std::string SwayLedger::text() const
{
    std::string result = std::string(firstWord) + " " + token + "\n";
    for (const auto& [mode, each] : bindings) {
        for (const auto& binding : each) {
            result += binding.release ? "r " : "p ";
            result += std::to_string(binding.key) + " " + std::to_string(binding.modifiers) + " " +
                      mode + "\n";
        }
    }
    for (const auto key : held) {
        result += "h " + std::to_string(key) + "\n";
    }
    return result;
}

std::optional<SwayLedger> SwayLedger::parse(std::string_view text)
{
    std::istringstream lines{std::string(text)};
    std::string word;
    SwayLedger ledger;
    if (!(lines >> word >> ledger.token) || word != firstWord || lines.get() != '\n') {
        return std::nullopt;
    }
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind;
        unsigned key = 0;
        SwayBinding binding;
        std::string mode;
        if (words >> kind >> key && kind == "h" && key <= 255 && words.eof()) {
            ledger.held.insert(static_cast<HardwareKey>(key));
            continue;
        }
        if (!(words >> binding.modifiers) || (kind != "p" && kind != "r") || key > 255 ||
            words.get() != ' ' || !std::getline(words, mode) || !isSuitableSwayMode(mode)) {
            return std::nullopt;
        }
        binding.key = static_cast<HardwareKey>(key);
        binding.release = kind == "r";
        ledger.bindings[mode].insert(binding);
    }
    return ledger;
}

std::optional<SwayLedger> SwayLedger::read(const std::filesystem::path& path)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored) ||
        std::filesystem::file_size(path, ignored) > mostBytes) {
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    return parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

bool SwayLedger::write(const std::filesystem::path& path) const
{
    std::error_code failure;
    if (bindings.empty()) {
        std::filesystem::remove(path, failure);
        return !failure;
    }
    auto next = path;
    next += ".new";
    std::ofstream file(next, std::ios::binary | std::ios::trunc);
    file << text();
    file.close();
    if (!file) {
        return false;
    }
    std::filesystem::rename(next, path, failure);
    return !failure;
}

} // namespace vorlin
