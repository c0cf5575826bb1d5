#include "Platform/Linux/Keys/SwayConfiguration.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include <wordexp.h>

namespace vorlin {

namespace {

using Words = std::vector<std::string>;

constexpr std::size_t mostFiles = 256;
constexpr std::size_t mostBytes = std::size_t{1} << 20U;
constexpr std::size_t mostDepth = 16;
constexpr std::size_t mostBindings = 20000;
/// A variable may hold another's name; nothing useful is longer.
constexpr std::size_t longestLine = 16384;
constexpr std::string_view blanks = " \t\r\f\v";

std::string_view trimmed(std::string_view line)
{
    const auto first = line.find_first_not_of(blanks);
    return first == std::string_view::npos
               ? std::string_view{}
               : line.substr(first, line.find_last_not_of(blanks) - first + 1);
}

/// The lines of a text, those that a stroke at the end continues put together, without comments.
std::deque<std::string> linesOf(std::string_view text)
{
    std::deque<std::string> lines;
    std::string line;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        line += text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\\') && !line.starts_with('#') && !text.empty()) {
            line.pop_back();
            continue;
        }
        const auto content = trimmed(line);
        if (!content.empty() && content.front() != '#' && content.size() <= longestLine) {
            lines.emplace_back(content);
        }
        line.clear();
    }
    return lines;
}

/// Words are what blanks part, except inside quotes, which stay.
Words wordsOf(std::string_view line)
{
    Words words(1);
    char quote = 0;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char letter = line[at];
        if (quote == 0 && blanks.find(letter) != std::string_view::npos) {
            if (!words.back().empty()) {
                words.emplace_back();
            }
            continue;
        }
        words.back() += letter;
        if (letter == '\\' && at + 1 < line.size()) {
            words.back() += line[++at];
        } else if (letter == quote) {
            quote = 0;
        } else if (quote == 0 && (letter == '"' || letter == '\'')) {
            quote = letter;
        }
    }
    if (words.back().empty()) {
        words.pop_back();
    }
    return words;
}

std::string withoutQuotes(const std::string& word)
{
    const bool quoted = word.size() >= 2 && (word.front() == '"' || word.front() == '\'') &&
                        word.back() == word.front();
    return quoted ? word.substr(1, word.size() - 2) : word;
}

std::string joined(const Words& words, std::size_t from)
{
    std::string line;
    for (std::size_t at = from; at < words.size(); ++at) {
        line += (line.empty() ? "" : " ") + words[at];
    }
    return line;
}

class Reader {
public:
    explicit Reader(const SwayIncludes& includes) : includes(includes) {}

    void read(const SwayConfigurationFile& file, std::size_t depth)
    {
        std::error_code ignored;
        const auto real = std::filesystem::weakly_canonical(file.path, ignored).string();
        if (depth > mostDepth || seen.size() >= mostFiles || !seen.insert(real).second) {
            return;
        }
        const auto folder = std::filesystem::path(file.path).parent_path().string();
        auto lines = linesOf(file.text);
        std::vector<std::string> blocks;
        while (!lines.empty()) {
            auto line = std::move(lines.front());
            lines.pop_front();
            if (!lines.empty() && lines.front() == "{" && !line.ends_with('{')) {
                line += " {";
                lines.pop_front();
            }
            if (!blocks.empty()) {
                line = blocks.back() + " " + line;
            }
            auto words = wordsOf(line);
            if (line.size() > longestLine || words.empty()) {
                continue;
            }
            if (words.back() == "{" && words.size() > 1 && blocks.size() < mostDepth) {
                words.pop_back();
                blocks.push_back(joined(words, 0));
            } else if (words.back() == "}") {
                if (!blocks.empty()) {
                    blocks.pop_back();
                }
            } else {
                command(replaced(words), folder, depth);
            }
        }
    }

    std::vector<SwayOwnBinding> found;

private:
    /// The words with variables put in; of `set`, the variable's own name stays.
    Words replaced(Words words) const
    {
        const bool sets = words.front() == "set" && words.size() > 1;
        std::string line;
        for (std::size_t at = 0; at < words.size(); ++at) {
            line += (at == 0 ? "" : " ") + (sets && at == 1 ? words[at] : replaced(words[at]));
        }
        return wordsOf(line);
    }

    std::string replaced(const std::string& word) const
    {
        std::string result;
        for (std::size_t at = 0; at < word.size();) {
            const auto rest = std::string_view(word).substr(at);
            // The longest name that fits: behind the names that begin like it.
            const auto* best =
                static_cast<const std::pair<const std::string, std::string>*>(nullptr);
            if (rest.front() == '$') {
                for (const auto& variable : variables) {
                    if (rest.starts_with(variable.first) &&
                        (best == nullptr || variable.first.size() > best->first.size())) {
                        best = &variable;
                    }
                }
            }
            result += best != nullptr ? best->second : std::string(1, word[at]);
            at += best != nullptr ? best->first.size() : 1;
            if (result.size() > longestLine) {
                return {};
            }
        }
        return result;
    }

    void command(Words words, const std::string& folder, std::size_t depth)
    {
        std::string mode = "default";
        if (words.size() > 2 && words.front() == "mode") {
            const std::size_t name = words[1] == "--pango_markup" ? 2 : 1;
            mode = withoutQuotes(words[name]);
            words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(name) + 1);
        }
        if (words.empty()) {
            return;
        }
        if (words.front() == "set" && words.size() > 2 && words[1].starts_with('$') &&
            words[1].size() > 1 && variables.size() < mostFiles * 16) {
            variables[words[1]] = joined({withoutQuotes(joined(words, 2))}, 0);
        } else if (words.front() == "include" && words.size() == 2) {
            for (const auto& file : includes(words[1], folder)) {
                read(file, depth + 1);
            }
        } else if (words.front() == "bindsym" || words.front() == "bindcode") {
            bind(words, mode);
        }
    }

    void bind(const Words& words, const std::string& mode)
    {
        std::size_t at = 1;
        while (at < words.size() && words[at].starts_with("--")) {
            ++at;
        }
        if (at >= words.size() || found.size() >= mostBindings) {
            return;
        }
        SwayOwnBinding binding{mode, 0, 0, {}};
        const auto combination = withoutQuotes(words[at]);
        std::size_t keys = 0;
        for (std::size_t from = 0; from <= combination.size();) {
            const auto end = std::min(combination.find('+', from), combination.size());
            const auto part = combination.substr(from, end - from);
            from = end + 1;
            if (const auto modifier = swayModifier(part)) {
                binding.modifiers |= *modifier;
            } else if (!part.empty() && !part.starts_with("Group") && part != "Mode_switch") {
                ++keys;
                binding.symbol = part;
            }
        }
        if (keys != 1) {
            return;
        }
        if (words.front() == "bindcode") {
            const auto* const end = binding.symbol.data() + binding.symbol.size();
            std::from_chars(binding.symbol.data(), end, binding.code);
            binding.symbol.clear();
        }
        found.push_back(std::move(binding));
    }

    const SwayIncludes& includes;
    std::map<std::string, std::string> variables;
    std::set<std::string> seen;
};

/// As a shell would be told it: a pattern without a folder counts from `folder`.
std::string fromFolder(const std::string& pattern, const std::string& folder)
{
    std::string quoted;
    for (const char letter : folder) {
        quoted += {'\\', letter};
    }
    return quoted + "/" + pattern;
}

} // namespace

std::vector<SwayOwnBinding> swayOwnBindings(const SwayConfigurationFile& main,
                                            const SwayIncludes& includes)
{
    Reader reader(includes);
    reader.read(main, 0);
    return std::move(reader.found);
}

std::vector<SwayConfigurationFile> readSwayIncludes(const std::string& pattern,
                                                    const std::string& folder)
{
    std::vector<SwayConfigurationFile> files;
    const bool startsElsewhere = pattern.empty() || std::string_view("/~$\"'").find(
                                                        pattern.front()) != std::string_view::npos;
    wordexp_t found{};
    const auto whole = startsElsewhere ? pattern : fromFolder(pattern, folder);
    const int failure = ::wordexp(whole.c_str(), &found, WRDE_NOCMD);
    if (failure != 0) {
        if (failure == WRDE_NOSPACE) {
            ::wordfree(&found);
        }
        return files;
    }
    for (std::size_t at = 0; at < found.we_wordc && files.size() < mostFiles; ++at) {
        std::filesystem::path path = found.we_wordv[at];
        path = path.is_absolute() ? path : folder / path;
        std::error_code error;
        if (std::filesystem::is_regular_file(path, error) &&
            std::filesystem::file_size(path, error) <= mostBytes && !error) {
            std::ifstream file(path, std::ios::binary);
            files.push_back({path.string(), std::string(std::istreambuf_iterator<char>(file), {})});
        }
    }
    ::wordfree(&found);
    return files;
}

} // namespace vorlin
