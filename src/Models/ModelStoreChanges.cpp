#include "Models/HubAddress.h"
#include "Models/ModelFolder.h"
#include "Models/ModelStore.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <iterator>
#include <utility>

namespace vorlin {

namespace {

constexpr auto askForRepository =
    "Enter a repository as owner/name, for example FluidInference/parakeet-ultra-coreml.";
constexpr auto damagedEntry =
    "This entry of the list is damaged. Remove it from the list and add it again.";
constexpr auto unstorableName =
    "That folder cannot be added: its name is not valid text. Rename it and try again.";

/// The path without slashes at its end.
std::string plainPath(const std::filesystem::path& folder)
{
    std::string text = folder.string();
    while (text.size() > 1 && text.ends_with('/')) {
        text.pop_back();
    }
    return text;
}

} // namespace

void ModelStore::install(const Engine& engine)
{
    const auto wanted = listed(engine.id);
    if (!wanted || operations.isDownloading(wanted->id)) {
        return;
    }
    const auto* hub = std::get_if<Engine::Hub>(&wanted->source);
    if (hub == nullptr) {
        return;
    }
    if (!isRepository(hub->repository)) {
        lastError.set(askForRepository);
    } else if (const auto modelFolder = folder(*wanted)) {
        beginInstall(wanted->id, hub->repository, *modelFolder);
    } else {
        lastError.set(damagedEntry);
    }
}

void ModelStore::beginInstall(const std::string& id, const std::string& repository,
                              const std::filesystem::path& modelFolder)
{
    const StopToken stop = operations.beginDownload(id);
    const Ticket ticket = operations.begin(id);
    const bool wasUnknown = !states.get().contains(id);
    lastError.set(std::nullopt);
    setState(id, Downloading{});
    setSize(id, std::nullopt);
    if (wasUnknown && id == selected.get()) {
        setSelected(
            appleEngineId); // the answer that decides whether the selection holds no longer comes
    }
    operations.turns.take(id, lifetime.guard([=, this] {
        spawn(needs.loop, lifetime.token(), transfer(id, repository, modelFolder, ticket, stop));
    }));
}

Task<void> ModelStore::transfer(std::string id, std::string repository,
                                std::filesystem::path modelFolder, Ticket ticket, StopToken stop)
{
    std::optional<std::string> failure;
    bool complete = false;
    try {
        if (!stop.stopRequested()) {
            const auto arrival =
                needs.downloads.download(repository, modelFolder, progressFor(id, ticket), stop);
            co_await arrival;
            complete = true;
        }
    } catch (const DownloadCancelled&) {
        complete = false;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    operations.turns.end(id);
    if (!operations.isCurrent(id, ticket)) {
        co_return; // cancelled by a removal, which says what is so now
    }
    if (complete) {
        transferred(id, modelFolder, ticket);
    } else {
        transferFailed(id, modelFolder, failure);
    }
}

Downloads::OnProgress ModelStore::progressFor(const std::string& id, Ticket ticket)
{
    auto apply =
        lifetime.guard([this, id, ticket](double fraction) { progressed(id, ticket, fraction); });
    return [&loop = needs.loop, apply](double fraction) {
        loop.post([apply, fraction] { apply(fraction); });
    };
}

void ModelStore::progressed(const std::string& id, Ticket ticket, double fraction)
{
    if (operations.isCurrent(id, ticket) && !std::isnan(fraction)) {
        setState(id, Downloading{std::clamp(fraction, 0.0, 1.0)});
    }
}

void ModelStore::transferred(const std::string& id, const std::filesystem::path& modelFolder,
                             Ticket ticket)
{
    check(modelFolder, [this, id, modelFolder, ticket](const auto& missing) {
        if (!operations.isCurrent(id, ticket)) {
            return;
        }
        operations.endDownload(id);
        if (missing.empty()) {
            installed(id, modelFolder);
            setSelected(id);
        } else {
            transferFailed(id, modelFolder,
                           "The downloaded model is not complete. " + missingLine(missing));
        }
    });
}

void ModelStore::transferFailed(const std::string& id, const std::filesystem::path& modelFolder,
                                const std::optional<std::string>& failure)
{
    operations.endDownload(id);
    const Ticket ticket = operations.begin(id); // late progress is dropped
    setState(id, NotInstalled{});
    setSize(id, std::nullopt);
    if (failure) {
        lastError.set(failure);
    }
    // A model that lay there before still does.
    check(modelFolder, [this, id, modelFolder, ticket](const auto& missing) {
        if (operations.isCurrent(id, ticket) && missing.empty()) {
            installed(id, modelFolder);
        }
    });
}

void ModelStore::remove(const Engine& engine)
{
    const auto wanted = listed(engine.id);
    if (!wanted || std::holds_alternative<Engine::Apple>(wanted->source)) {
        return;
    }
    const std::string& id = wanted->id;
    operations.begin(id);
    operations.cancelDownload(id);
    if (id == selected.get()) {
        setSelected(appleEngineId);
    }
    if (const auto modelFolder = folder(*wanted);
        modelFolder && std::holds_alternative<Engine::Hub>(wanted->source)) {
        removeFolder(id, *modelFolder);
    }
    setState(id, NotInstalled{});
    setSize(id, std::nullopt);
    if (wanted->custom) {
        auto rest = engines.get();
        std::erase_if(rest, [&id](const Engine& each) { return each.id == id; });
        storeEngines(std::move(rest));
        setState(id, std::nullopt);
        operations.forget(id);
    }
    needs.speech.unload();
}

void ModelStore::removeFolder(const std::string& id, const std::filesystem::path& modelFolder)
{
    operations.turns.take(id, lifetime.guard([this, id, modelFolder] {
        needs.workers.runPatiently(
            WorkPriority::normal,
            [folders = needs.folders, modelFolder] { folders->removeModel(modelFolder); },
            needs.loop, lifetime.guard([this, id] { operations.turns.end(id); }));
    }));
}

void ModelStore::addHub(const std::string& repository, const std::string& name)
{
    const std::string wanted = trimmed(repository);
    if (!isRepository(wanted)) {
        lastError.set(askForRepository);
        return;
    }
    const Engine::Source source = Engine::Hub{wanted};
    const auto same = std::ranges::find(engines.get(), source, &Engine::source);
    if (same != engines.get().end()) {
        lastError.set(same->name + " already uses that repository.");
        return;
    }
    const Engine engine = Engine::added(newId(), name, repositoryName(wanted), source);
    if (registerEngine(engine)) {
        install(engine);
    } else {
        lastError.set(askForRepository);
    }
}

void ModelStore::addLocal(const std::filesystem::path& folder, const std::string& name)
{
    check(folder, [this, text = plainPath(folder), name](const auto& missing) {
        addChecked(text, name, missing);
    });
}

void ModelStore::addChecked(const std::string& folder, const std::string& name,
                            const std::vector<std::string>& missing)
{
    if (!missing.empty()) {
        lastError.set("That folder isn't a compatible model. " + missingLine(missing));
        return;
    }
    const std::string last = folder.substr(folder.size() > 1 ? folder.rfind('/') + 1 : 0);
    const Engine engine = Engine::added(newId(), name, last, Engine::Local{folder});
    if (!registerEngine(engine)) {
        lastError.set(unstorableName);
        return;
    }
    installed(engine.id, folder);
    setSelected(engine.id);
}

bool ModelStore::registerEngine(const Engine& engine)
{
    if (!Engine::encoded({engine})) {
        return false;
    }
    lastError.set(std::nullopt);
    auto longer = engines.get();
    longer.push_back(engine);
    storeEngines(std::move(longer));
    return true;
}

void ModelStore::storeEngines(std::vector<Engine> list)
{
    std::vector<Engine> custom;
    std::ranges::copy_if(list, std::back_inserter(custom), &Engine::custom);
    needs.preferences.setCustomEngines(custom);
    engines.set(std::move(list));
}

std::string ModelStore::newId()
{
    // The first eight digits of a random UUID, which hold nothing but chance.
    std::array<char, 9> digits = {};
    std::snprintf(digits.data(), digits.size(), "%08x",
                  static_cast<unsigned>(needs.random.bits() & 0xFFFFFFFFU));
    return std::string("custom-") + digits.data();
}

} // namespace vorlin
