#include "Engine.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

using nlohmann::json;

/// Far more than a person adds; a larger text is damage that would only hold up the start.
constexpr std::size_t largestText = 4U << 20U;

/// What the built-in Parakeet models were trained on, by ISO 639-1 code.
constexpr std::array<std::string_view, 25> parakeetLanguages = {
    "bg", "cs", "da", "de", "el", "en", "es", "et", "fi", "fr", "hr", "hu", "it",
    "lt", "lv", "mt", "nl", "pl", "pt", "ro", "ru", "sk", "sl", "sv", "uk"};

[[noreturn]] void corrupted(const std::string& what)
{
    throw std::runtime_error(what);
}

const json& required(const json& object, const char* key)
{
    const auto found = object.find(key);
    if (found == object.end()) {
        corrupted(std::string("The key \"") + key + "\" is missing.");
    }
    return *found;
}

std::string text(const json& object, const char* key)
{
    const json& value = required(object, key);
    if (!value.is_string()) {
        corrupted(std::string("\"") + key + "\" is no text.");
    }
    return value.get<std::string>();
}

Engine::Source decodeSource(const json& source)
{
    if (!source.is_object()) {
        corrupted("\"source\" is no object.");
    }
    if (source.size() != 1) {
        corrupted("Invalid number of keys found, expected one.");
    }
    const auto& name = source.begin().key();
    const json& payload = source.begin().value();
    if (!payload.is_object()) {
        corrupted("A payload is no object.");
    }
    if (name == "hub") {
        return Engine::Hub{text(payload, "_0")};
    }
    if (name == "local") {
        return Engine::Local{text(payload, "_0")};
    }
    if (name == "apple") {
        return Engine::Apple{};
    }
    corrupted("The source is unknown.");
}

std::optional<std::vector<std::string>> decodeTags(const json& engine)
{
    const auto found = engine.find("tags");
    if (found == engine.end() || found->is_null()) {
        return std::nullopt;
    }
    if (!found->is_array()) {
        corrupted("\"tags\" is no list.");
    }
    std::vector<std::string> tags;
    for (const json& tag : *found) {
        if (!tag.is_string()) {
            corrupted("A tag is no text.");
        }
        tags.push_back(tag.get<std::string>());
    }
    return tags;
}

Engine decodeEngine(const json& engine)
{
    if (!engine.is_object()) {
        corrupted("An engine is no object.");
    }
    const json& custom = required(engine, "custom");
    if (!custom.is_boolean()) {
        corrupted("\"custom\" is neither true nor false.");
    }
    return {text(engine, "id"),
            text(engine, "name"),
            text(engine, "summary"),
            text(engine, "sizeLabel"),
            decodeSource(required(engine, "source")),
            custom.get<bool>(),
            decodeTags(engine)};
}

json encodeSource(const Engine::Source& source)
{
    if (const auto* hub = std::get_if<Engine::Hub>(&source)) {
        return {{"hub", {{"_0", hub->repository}}}};
    }
    if (const auto* local = std::get_if<Engine::Local>(&source)) {
        return {{"local", {{"_0", local->folder}}}};
    }
    return {{"apple", json::object()}};
}

json encodeEngine(const Engine& engine)
{
    json object = {{"id", engine.id},
                   {"name", engine.name},
                   {"summary", engine.summary},
                   {"sizeLabel", engine.sizeLabel},
                   {"source", encodeSource(engine.source)},
                   {"custom", engine.custom}};
    if (engine.tags) {
        object["tags"] = *engine.tags;
    }
    return object;
}

std::string summaryOf(const Engine::Source& source)
{
    if (const auto* hub = std::get_if<Engine::Hub>(&source)) {
        return hub->repository;
    }
    const auto* local = std::get_if<Engine::Local>(&source);
    return local != nullptr ? local->folder : std::string();
}

} // namespace

const std::vector<Engine>& Engine::builtIn()
{
    using Tags = std::vector<std::string>;
    static const std::vector<Engine> engines = {
        {appleEngineId, "Apple Speech",
         "Built into macOS. Shows your words live as you speak, with nothing to download.",
         "Built in", Apple{}, false, Tags{"7 languages", "Live text", "No download"}},
        {"parakeetRedux", "NVIDIA Parakeet Redux",
         "A compact NVIDIA model that transcribes each sentence in about a second. A good balance "
         "of speed and download size.",
         "≈ 220 MB", Hub{"FluidInference/parakeet-redux-coreml"}, false,
         Tags{"25 languages", "Auto-detects language", "Fast"}},
        {"parakeetUltra", "NVIDIA Parakeet Ultra",
         "The most accurate model here, for names, accents and long dictations. Larger download.",
         "≈ 630 MB", Hub{"FluidInference/parakeet-ultra-coreml"}, false,
         Tags{"25 languages", "Auto-detects language", "Most accurate"}},
    };
    return engines;
}

const Engine* Engine::knowing(std::string_view language)
{
    const auto code = language.substr(0, language.find_first_of("-_"));
    if (std::ranges::find(parakeetLanguages, code) == parakeetLanguages.end()) {
        return nullptr;
    }
    const auto found = std::ranges::find_if(
        builtIn(), [](const Engine& engine) { return std::holds_alternative<Hub>(engine.source); });
    return found == builtIn().end() ? nullptr : &*found;
}

Engine Engine::added(std::string id, const std::string& name, const std::string& otherwise,
                     Source source)
{
    std::string summary = summaryOf(source);
    return {std::move(id),      name.empty() ? otherwise : name,
            std::move(summary), "Custom",
            std::move(source),  true,
            std::nullopt};
}

std::optional<std::string> Engine::encoded(const std::vector<Engine>& engines)
{
    json list = json::array();
    for (const Engine& engine : engines) {
        list.push_back(encodeEngine(engine));
    }
    try {
        return list.dump();
    } catch (const json::type_error&) { // a text that is not UTF-8
        return std::nullopt;
    }
}

std::vector<Engine> Engine::decode(std::string_view json)
{
    if (json.size() > largestText) {
        corrupted("The list of engines is too large.");
    }
    // The parser would take a NUL byte for the end of the text.
    if (json.find('\0') != std::string_view::npos) {
        corrupted("The list of engines holds a NUL byte.");
    }
    const auto list = nlohmann::json::parse(json, nullptr, /*allow_exceptions=*/false);
    if (!list.is_array()) {
        corrupted("The list of engines is no list.");
    }
    std::vector<Engine> engines;
    for (const auto& engine : list) {
        engines.push_back(decodeEngine(engine));
    }
    return engines;
}

} // namespace vorlin

std::size_t std::hash<vorlin::Engine>::operator()(const vorlin::Engine& engine) const noexcept
{
    std::size_t seed = engine.source.index();
    const auto combine = [&seed](std::size_t value) {
        seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6U) + (seed >> 2U);
    };
    const auto add = [&combine](const std::string& text) {
        combine(std::hash<std::string>{}(text));
    };
    add(engine.id);
    add(engine.name);
    add(engine.summary);
    add(engine.sizeLabel);
    if (const auto* hub = std::get_if<vorlin::Engine::Hub>(&engine.source)) {
        add(hub->repository);
    } else if (const auto* local = std::get_if<vorlin::Engine::Local>(&engine.source)) {
        add(local->folder);
    }
    combine(engine.custom ? 1 : 0);
    combine(engine.tags.has_value() ? 1 : 0);
    for (const auto& tag : engine.tags.value_or(std::vector<std::string>())) {
        add(tag);
    }
    return seed;
}
