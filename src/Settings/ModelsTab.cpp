#include "Settings/ModelsTab.h"

#include "Settings/EngineRow.h"
#include "Settings/Texts.h"

namespace vorlin {

namespace {

/// The row that says why the folder of all models cannot be shown.
constexpr const char* rootRow = "modelsRoot";

} // namespace

ModelsTab::ModelsTab(ModelStore& store, const EngineSpeeds& speeds, const Ports& ports)
    : FormModel(ports.wording), sheet(ports.loop, store, ports.workspace, ports.wording),
      loop(ports.loop), workers(ports.workers), workspace(ports.workspace), folders(ports.folders),
      store(store), speeds(speeds), wishes(ports.loop, [this] { update(); })
{
    const auto follow = [this](const auto& source) {
        changes.push_back(source.observe([this](const auto&) { update(); }));
    };
    follow(store.engines);
    follow(store.states);
    follow(store.sizes);
    follow(store.lacking);
    follow(store.lastError);
    follow(store.selected);
    follow(speeds.measured);
    update();
}

void ModelsTab::update()
{
    const Command show{.text = "Show in Finder",
                       .symbol = "folder",
                       .press = lifetime.guard([this] { showRoot(); })};
    const Command add{
        .text = "Add model…", .symbol = "plus", .press = lifetime.guard([this] { sheet.open(); })};
    FormSection section{"Speech engines", {show, add}, {}, aboutModels};
    if (const auto& error = store.lastError.get()) {
        section.rows.push_back({"lastError", {}, TextControl{}, {}, *error});
    }
    if (const auto problem = wishes.problem(rootRow); !problem.empty()) {
        section.rows.push_back({rootRow, {}, TextControl{}, {}, problem});
    }
    const EngineRowNeeds needs{store, workspace, wishes, wording, lifetime};
    for (const Engine& engine : store.engines.get()) {
        section.rows.push_back(engineRow(engine, speeds.text(engine.id), needs));
    }
    setForm({section});
}

void ModelsTab::showRoot()
{
    workers.runPatiently(
        WorkPriority::normal, [folders = folders] { folders->makeModelsRoot(); }, loop,
        lifetime.guard([this] { wishes.follow(rootRow, workspace.open(store.modelsRoot())); }));
}

} // namespace vorlin
