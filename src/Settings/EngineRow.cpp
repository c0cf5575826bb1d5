#include "Settings/EngineRow.h"

#include "Settings/Texts.h"

#include <utility>
#include <variant>

namespace vorlin {

namespace {

constexpr const char* crossSymbol = "xmark.circle.fill";

/// Builds the row of one engine.
class Row {
public:
    Row(const Engine& engine, const EngineRowNeeds& needs)
        : engine(engine), needs(needs), store(needs.store)
    {
        const auto found = store.states.get().find(engine.id);
        if (found != store.states.get().end()) {
            state = found->second;
        }
    }

    FormRow row(const std::string& speed) const
    {
        EngineControl control{.sizeLabel = engine.sizeLabel,
                              .badge = engine.custom ? "Custom" : "",
                              .summary = engine.summary,
                              .tags = engine.tags.value_or(std::vector<std::string>()),
                              .selected = engine.id == store.selected.get(),
                              .select = {},
                              .progress = {},
                              .percentage = {},
                              .commands = {},
                              .size = {},
                              .menuButton = {.symbol = "ellipsis.circle",
                                             .help = "More for " + needs.wording(engine.name)},
                              .menu = {},
                              .contextMenu = folderMenu(),
                              .help = speed};
        control.select = selectCommand(control.selected);
        if (engine.custom) {
            control.sizeLabel.clear(); // it says what the badge says
        }
        if (const auto* downloading = get<ModelStore::Downloading>()) {
            control.progress = downloading->fraction;
            control.percentage =
                std::to_string(static_cast<long long>(downloading->fraction * 100)) + "%";
            control.commands = {cross("Cancel download")};
        } else if (get<ModelStore::NotInstalled>() != nullptr) {
            control.commands = absentCommands();
        } else if (get<ModelStore::Installed>() != nullptr) {
            const auto size = store.sizes.get().find(engine.id);
            control.size = size == store.sizes.get().end() ? "" : size->second;
            control.menu = folderMenu();
        }
        return {engine.id,
                engine.name,
                std::move(control),
                {},
                together(missing(), needs.wishes.problem(engine.id))};
    }

private:
    template <class Kind>
    const Kind* get() const
    {
        return state ? std::get_if<Kind>(&*state) : nullptr;
    }
    bool isLocal() const { return std::holds_alternative<Engine::Local>(engine.source); }

    Command selectCommand(bool selected) const
    {
        return {.symbol = selected ? "checkmark.circle.fill" : "circle",
                .help = "Use " + needs.wording(engine.name),
                .enabled = get<ModelStore::Installed>() != nullptr,
                .press = act(
                    [](ModelStore& models, const Engine& chosen) { models.select(chosen.id); })};
    }

    Command cross(std::string help) const
    {
        return {.symbol = crossSymbol, .help = std::move(help), .press = act(&ModelStore::remove)};
    }

    std::vector<Command> absentCommands() const
    {
        std::vector<Command> commands;
        if (!isLocal()) { // nothing can be fetched into a folder of the person's own
            commands.push_back({.text = "Download",
                                .symbol = "arrow.down.circle",
                                .press = act(&ModelStore::install)});
        }
        if (engine.custom) {
            commands.push_back(cross("Remove from list"));
        }
        return commands;
    }

    CommandMenu folderMenu() const
    {
        const auto folder = store.folder(engine);
        if (std::holds_alternative<Engine::Apple>(engine.source)) {
            return {};
        }
        CommandMenu menu;
        if (folder) {
            menu.push_back(
                {{.text = "Show in Finder",
                  .symbol = "folder",
                  .press = needs.lifetime.guard(
                      [&workspace = needs.workspace, &wishes = needs.wishes, id = engine.id,
                       folder = *folder] { wishes.follow(id, workspace.reveal(folder)); })}});
        }
        menu.push_back({{.text = !engine.custom ? "Delete download"
                                 : isLocal()    ? "Remove from list"
                                                : "Delete model",
                         .symbol = "trash",
                         .destructive = true,
                         .press = act(&ModelStore::remove)}});
        return menu;
    }

    /// What the folder of an engine that is used in place lacks.
    std::string missing() const
    {
        const auto lacking = store.lacking.get().find(engine.id);
        if (!isLocal() || lacking == store.lacking.get().end()) {
            return {};
        }
        std::string text;
        for (const auto& name : lacking->second) {
            text += (text.empty() ? "Missing: " : ", ") + name;
        }
        return text + ".";
    }

    template <class Operation>
    Action<> act(Operation operation) const
    {
        return needs.lifetime.guard([&store = store, operation, engine = engine] {
            std::invoke(operation, store, engine);
        });
    }

    const Engine& engine;
    const EngineRowNeeds& needs;
    ModelStore& store;
    std::optional<ModelStore::State> state;
};

} // namespace

FormRow engineRow(const Engine& engine, const std::string& speed, const EngineRowNeeds& needs)
{
    return Row(engine, needs).row(speed);
}

} // namespace vorlin
