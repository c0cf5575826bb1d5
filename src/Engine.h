#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorlin {

/// One entry in the list of speech engines that the person can dictate with. A plain value; its
/// texts are UTF-8.
struct Engine {
    /// A repository of the model hub, "owner/name", whose files are downloaded.
    struct Hub {
        std::string repository;
        bool operator==(const Hub&) const = default;
    };
    /// A folder on this machine, by its absolute path; used in place, never copied or deleted.
    struct Local {
        std::string folder;
        bool operator==(const Local&) const = default;
    };
    /// The platform's own recogniser.
    struct Apple {
        bool operator==(const Apple&) const = default;
    };
    using Source = std::variant<Hub, Local, Apple>;

    /// Unique in the list; also the name of a downloaded model's folder.
    std::string id;
    std::string name;
    /// Shown under the name; for custom engines the repository or the folder.
    std::string summary;
    /// Shown beside the name, never parsed.
    std::string sizeLabel;
    Source source = Apple{};
    /// Added by the person: stored, and can be taken off the list.
    bool custom = false;
    /// Small badges; none for custom engines.
    std::optional<std::vector<std::string>> tags;

    bool operator==(const Engine&) const = default;

    /// The engines that are always there, first in the list and in this order.
    static const std::vector<Engine>& builtIn();

    /// The first of those, but the platform's own, that knows a language, by its identifier such
    /// as "de-DE" or "de"; null when none does.
    static const Engine* knowing(std::string_view language);

    /// An engine that the person adds from a hub repository or a folder. `name` is what was
    /// typed; when that is empty the engine is called as `otherwise`.
    static Engine added(std::string id, const std::string& name, const std::string& otherwise,
                        Source source);

    /// The list as JSON; nothing when a text in it is not UTF-8.
    static std::optional<std::string> encoded(const std::vector<Engine>& engines);

    /// The list in a stored text. Any order of keys, any spacing and keys of no meaning to us are
    /// accepted; a key twice counts where it stands last, and null "tags" are absent. Fails with
    /// a `std::runtime_error` on everything else, also when one engine is at fault.
    static std::vector<Engine> decode(std::string_view json);
};

/// The id of the platform's own recogniser, to which every selection falls back.
inline constexpr const char* appleEngineId = "apple";

} // namespace vorlin

template <>
struct std::hash<vorlin::Engine> {
    std::size_t operator()(const vorlin::Engine& engine) const noexcept;
};
