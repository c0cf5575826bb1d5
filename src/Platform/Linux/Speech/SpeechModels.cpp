#include "Platform/Linux/Speech/SpeechModels.h"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>

namespace vorlin {

namespace fs = std::filesystem;

namespace {

/// Language in lower case, region in upper case or empty.
struct LocaleName {
    std::string language;
    std::string region;

    bool operator==(const LocaleName&) const = default;
    std::string identifier() const { return region.empty() ? language : language + "-" + region; }
};

// Not of <cctype>, whose answers depend on the process's locale.
bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string inCase(std::string_view text, char first, char last)
{
    std::string changed(text);
    for (char& c : changed) {
        if (c >= first && c <= last) {
            c = static_cast<char>(c ^ 0x20);
        }
    }
    return changed;
}

bool isRegion(std::string_view part)
{
    return (part.size() == 2 && std::ranges::all_of(part, isLetter)) ||
           (part.size() == 3 && std::ranges::all_of(part, isDigit));
}

bool isScript(std::string_view part)
{
    return part.size() == 4 && std::ranges::all_of(part, isLetter);
}

/// "en", "en-US", "zh_Hans_CN", "en_US.UTF-8"; nothing for what is no locale.
std::optional<LocaleName> parseLocale(std::string_view identifier)
{
    identifier = identifier.substr(0, identifier.find_first_of(".@"));
    std::vector<std::string_view> parts;
    while (true) {
        const auto end = identifier.find_first_of("-_");
        parts.push_back(identifier.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        identifier.remove_prefix(end + 1);
    }
    const auto language = parts.front();
    if (language.size() < 2 || language.size() > 3 || !std::ranges::all_of(language, isLetter)) {
        return std::nullopt;
    }
    LocaleName name{inCase(language, 'A', 'Z'), {}};
    parts.erase(parts.begin());
    if (!parts.empty() && isScript(parts.front())) {
        parts.erase(parts.begin());
    }
    if (!parts.empty()) {
        if (!isRegion(parts.front())) {
            return std::nullopt;
        }
        name.region = inCase(parts.front(), 'a', 'z');
    }
    return name;
}

/// What a folder holds, in name order; empty when it cannot be read.
std::vector<fs::path> entriesOf(const fs::path& folder)
{
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        entries.push_back(each->path());
    }
    std::ranges::sort(entries);
    return entries;
}

bool isFile(const fs::path& path)
{
    std::error_code error;
    return fs::is_regular_file(path, error);
}

bool isAcousticModel(const fs::path& folder)
{
    return isFile(folder / "mdef") && isFile(folder / "means") && isFile(folder / "variances") &&
           isFile(folder / "transition_matrices") &&
           (isFile(folder / "sendump") || isFile(folder / "mixture_weights"));
}

std::optional<fs::path> acousticModelIn(const fs::path& folder,
                                        const std::vector<fs::path>& entries)
{
    if (isAcousticModel(folder)) {
        return folder;
    }
    const auto found = std::ranges::find_if(entries, isAcousticModel);
    return found == entries.end() ? std::nullopt : std::optional(*found);
}

/// The file with the first of `endings` that any file has.
std::optional<fs::path> fileWith(std::initializer_list<std::string_view> endings,
                                 const fs::path& folder, const std::vector<fs::path>& entries)
{
    for (const auto ending : endings) {
        const auto fits = [ending](const fs::path& path) {
            const std::string name = path.filename().string();
            return name.size() > ending.size() && name.ends_with(ending) &&
                   !name.ends_with("-phone" + std::string(ending)) && isFile(path);
        };
        const auto sameName = folder / (folder.filename().string() + std::string(ending));
        if (fits(sameName)) {
            return sameName;
        }
        if (const auto found = std::ranges::find_if(entries, fits); found != entries.end()) {
            return *found;
        }
    }
    return std::nullopt;
}

std::optional<SpeechModel> modelIn(const fs::path& folder)
{
    const auto name = parseLocale(folder.filename().string());
    if (!name) {
        return std::nullopt;
    }
    const auto entries = entriesOf(folder);
    const auto acousticModel = acousticModelIn(folder, entries);
    const auto languageModel = fileWith({".lm.bin", ".lm", ".lm.gz"}, folder, entries);
    const auto dictionary = fileWith({".dict", ".dic"}, folder, entries);
    if (!acousticModel || !languageModel || !dictionary) {
        return std::nullopt;
    }
    return SpeechModel{name->identifier(), *acousticModel, *languageModel, *dictionary};
}

} // namespace

SpeechModels::SpeechModels(const std::vector<fs::path>& roots)
{
    for (const auto& root : roots) {
        for (const auto& folder : entriesOf(root)) {
            if (auto model = modelIn(folder)) {
                models.push_back(std::move(*model));
            }
        }
    }
}

std::optional<SpeechModel> SpeechModels::exactly(const std::string& locale) const
{
    const auto wanted = parseLocale(locale);
    if (!wanted) {
        return std::nullopt;
    }
    const auto found = std::ranges::find(models, wanted->identifier(), &SpeechModel::locale);
    return found == models.end() ? std::nullopt : std::optional(*found);
}

std::optional<SpeechModel> SpeechModels::nearest(const std::string& locale) const
{
    const auto wanted = parseLocale(locale);
    if (!wanted) {
        return std::nullopt;
    }
    std::optional<SpeechModel> sameLanguage;
    std::optional<SpeechModel> withoutRegion;
    for (const auto& model : models) {
        if (model.locale == wanted->identifier()) {
            return model;
        }
        if (parseLocale(model.locale)->language == wanted->language) {
            auto& place = model.locale == wanted->language ? withoutRegion : sameLanguage;
            place = place ? place : model;
        }
    }
    return withoutRegion ? withoutRegion : sameLanguage;
}

} // namespace vorlin
