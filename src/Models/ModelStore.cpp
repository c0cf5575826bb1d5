#include "Models/ModelStore.h"

#include "Models/ByteCount.h"
#include "Models/ModelFolder.h"

#include <algorithm>
#include <utility>

namespace vorlin {

ModelStore::ModelStore(const Needs& needs) : needs(needs)
{
    loadEngines();
    restoreSelection();
    const auto selectedFirst = listed(selected.get());
    if (selectedFirst) {
        checkAtStart(*selectedFirst);
    }
    for (const Engine& engine : engines.get()) {
        if (engine.id != selected.get()) {
            checkAtStart(engine);
        }
    }
}

void ModelStore::loadEngines()
{
    std::vector<Engine> list = Engine::builtIn();
    for (Engine& engine : needs.preferences.adoptCustomEngines()) {
        // Ids are unique: what a damaged or edited list says twice counts once.
        if (std::ranges::find(list, engine.id, &Engine::id) == list.end()) {
            list.push_back(std::move(engine));
        }
    }
    engines.set(std::move(list));
}

void ModelStore::restoreSelection()
{
    const std::string stored = needs.preferences.engine().value_or(appleEngineId);
    if (listed(stored)) {
        selected.set(stored);
    } else {
        selected.set(appleEngineId);
        needs.preferences.setEngine(appleEngineId);
    }
}

void ModelStore::checkAtStart(const Engine& engine)
{
    if (std::holds_alternative<Engine::Apple>(engine.source)) {
        setState(engine.id, Installed{});
        return;
    }
    const Ticket ticket = operations.begin(engine.id);
    const auto modelFolder = folder(engine);
    const auto answered = [this, id = engine.id, ticket, modelFolder](const auto& missing) {
        if (!operations.isCurrent(id, ticket)) {
            return;
        }
        if (missing.empty()) {
            installed(id, *modelFolder);
            if (id == selected.get() && warmWhenKnown) {
                warmSelected();
            }
        } else {
            setLacking(id, missing);
            setState(id, NotInstalled{});
            if (id == selected.get()) {
                giveWay(id, missing);
            }
        }
    };
    if (modelFolder) {
        check(*modelFolder, answered);
    } else {
        answered(std::vector<std::string>(modelFiles.begin(), modelFiles.end()));
    }
}

void ModelStore::giveWay(const std::string& id, const std::vector<std::string>& missing)
{
    const auto engine = listed(id);
    if (engine && isAnyUnusable(missing)) { // the person sees the files lie there
        lastError.set(engine->name + " cannot be used. " + missingLine(missing));
    }
    setSelected(appleEngineId);
}

void ModelStore::check(const std::filesystem::path& modelFolder, Checked checked)
{
    const auto missing = std::make_shared<std::vector<std::string>>();
    needs.workers.runPatiently(
        WorkPriority::normal,
        [folders = needs.folders, modelFolder, missing] {
            *missing = missingFiles(*folders, modelFolder);
        },
        needs.loop, lifetime.guard([checked = std::move(checked), missing] { checked(*missing); }));
}

void ModelStore::installed(const std::string& id, const std::filesystem::path& modelFolder)
{
    setState(id, Installed{});
    setSize(id, std::nullopt);
    measure(id, modelFolder);
}

void ModelStore::measure(const std::string& id, const std::filesystem::path& modelFolder)
{
    const auto size = std::make_shared<std::uint64_t>();
    needs.workers.runPatiently(
        WorkPriority::background,
        [folders = needs.folders, modelFolder, size] {
            *size = folders->allocatedSize(modelFolder);
        },
        needs.loop, lifetime.guard([this, id, ticket = operations.begin(id), size] {
            if (operations.isCurrent(id, ticket)) {
                setSize(id, byteCount(*size));
            }
        }));
}

void ModelStore::select(const std::string& id)
{
    if (listed(id) && isInstalled(id)) {
        setSelected(id);
    }
}

void ModelStore::setSelected(const std::string& id)
{
    if (id == selected.get()) {
        return;
    }
    needs.preferences.setEngine(id); // first, so that an observer who selects has the last word
    selected.set(id);
    warmSelected();
}

void ModelStore::warmSelected()
{
    const auto engine = listed(selected.get());
    warmWhenKnown = engine && !states.get().contains(engine->id);
    if (!engine || !isInstalled(engine->id)) {
        return;
    }
    if (const auto modelFolder = folder(*engine)) {
        needs.speech.warm(*modelFolder);
    }
}

std::shared_ptr<Transcriber> ModelStore::makeTranscriber()
{
    const auto engine = listed(selected.get());
    const auto modelFolder = engine ? folder(*engine) : std::nullopt;
    if (modelFolder && isInstalled(engine->id)) {
        return needs.speech.local(*modelFolder);
    }
    return needs.speech.platform(needs.preferences.language());
}

std::string ModelStore::engineInUse() const
{
    const auto engine = listed(selected.get());
    const bool local = engine && folder(*engine) && isInstalled(engine->id);
    return local ? engine->id : appleEngineId;
}

std::optional<std::filesystem::path> ModelStore::folder(const Engine& engine) const
{
    if (const auto* local = std::get_if<Engine::Local>(&engine.source)) {
        return local->folder;
    }
    if (std::holds_alternative<Engine::Hub>(engine.source) && isSingleName(engine.id)) {
        return needs.folders->modelsRoot() / engine.id;
    }
    return std::nullopt;
}

std::optional<Engine> ModelStore::listed(const std::string& id) const
{
    const auto& list = engines.get();
    const auto found = std::ranges::find(list, id, &Engine::id);
    return found == list.end() ? std::nullopt : std::optional(*found);
}

bool ModelStore::isInstalled(const std::string& id) const
{
    const auto state = states.get().find(id);
    return state != states.get().end() && std::holds_alternative<Installed>(state->second);
}

void ModelStore::setState(const std::string& id, std::optional<State> state)
{
    auto changed = states.get();
    if (state) {
        changed.insert_or_assign(id, *state);
    } else {
        changed.erase(id);
    }
    const bool incomplete = state && std::holds_alternative<NotInstalled>(*state);
    states.set(std::move(changed));
    if (!incomplete) {
        setLacking(id, {});
    }
}

void ModelStore::setLacking(const std::string& id, const std::vector<std::string>& names)
{
    auto changed = lacking.get();
    if (names.empty()) {
        changed.erase(id);
    } else {
        changed.insert_or_assign(id, names);
    }
    lacking.set(std::move(changed));
}

void ModelStore::setSize(const std::string& id, std::optional<std::string> size)
{
    auto changed = sizes.get();
    if (size) {
        changed.insert_or_assign(id, *std::move(size));
    } else {
        changed.erase(id);
    }
    sizes.set(std::move(changed));
}

} // namespace vorlin
