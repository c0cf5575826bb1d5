#include "Settings/AddModelSheet.h"

#include <exception>

namespace vorlin {

namespace {

constexpr const char* folderLabel = "Folder on this Mac";
constexpr const char* choose = "Choose";

} // namespace

AddModelSheet::AddModelSheet(MainLoop& loop, ModelStore& store, Workspace& workspace,
                             const Wording& wording)
    : FormModel(wording), loop(loop), store(store), workspace(workspace)
{
    cancel.set({.text = "Cancel", .press = lifetime.guard([this] { dismiss(); })});
    update();
}

AddModelSheet::~AddModelSheet()
{
    workspace.cancelChoice();
}

void AddModelSheet::open()
{
    ++opened;
    source = Source::hub;
    name.clear();
    repo.clear();
    folder.reset();
    folderProblem.clear();
    update();
    adding.set(true);
}

void AddModelSheet::dismiss()
{
    ++opened;
    workspace.cancelChoice();
    adding.set(false);
}

bool AddModelSheet::canAdd() const
{
    return source == Source::folder ? folder.has_value() : repo.find('/') != std::string::npos;
}

void AddModelSheet::add()
{
    if (!canAdd()) {
        return;
    }
    if (source == Source::folder) {
        store.addLocal(*folder, name);
    } else {
        store.addHub(repo, name);
    }
    dismiss();
}

void AddModelSheet::chooseFolder()
{
    spawn(loop, lifetime.token(), askForFolder(opened));
}

Task<void> AddModelSheet::askForFolder(std::size_t number)
{
    std::optional<std::filesystem::path> chosen;
    std::string problem;
    try {
        auto dialog = workspace.chooseFolder(wording(folderLabel), wording(choose));
        chosen = co_await dialog;
    } catch (const std::exception& error) {
        problem = error.what();
    }
    if (number != opened) {
        co_return;
    }
    folderProblem = problem;
    if (chosen) {
        folder = chosen;
    }
    update();
}

template <class Value>
Action<Value> AddModelSheet::edit(Value AddModelSheet::*value)
{
    return lifetime.guard([this, value](Value entered) {
        this->*value = std::move(entered);
        update();
    });
}

std::vector<FormRow> AddModelSheet::rows()
{
    const PickerControl sources{PickerControl::Style::segmented,
                                {{"hub", "Hugging Face", {}}, {"folder", "Folder", {}}},
                                static_cast<std::size_t>(source),
                                lifetime.guard([this](std::size_t index) {
                                    source = index == 0 ? Source::hub : Source::folder;
                                    update();
                                })};
    std::vector<FormRow> rows = {
        {"source", "Source", sources, {}},
        {"name", "Name (optional)", FieldControl{name, {}, edit(&AddModelSheet::name)}, {}}};
    if (source == Source::hub) {
        rows.push_back({"repository",
                        "Repository",
                        FieldControl{repo, "owner/repository", edit(&AddModelSheet::repo)},
                        {}});
    } else {
        rows.push_back(
            {"folder",
             folderLabel,
             FolderControl{folder ? folder->string() : "",
                           {.text = choose, .press = lifetime.guard([this] { chooseFolder(); })}},
             {},
             folderProblem});
    }
    return rows;
}

void AddModelSheet::update()
{
    setForm({{{},
              {},
              rows(),
              "Works with Parakeet-TDT CoreML exports that contain Preprocessor, Encoder, Decoder "
              "and JointDecisionv3 (.mlmodelc) plus parakeet_v3_vocab.json, such as the "
              "FluidInference repositories. A folder is used in place and never copied or "
              "deleted."}});
    confirm.set({.text = source == Source::hub ? "Add & Download" : "Add",
                 .enabled = canAdd(),
                 .press = lifetime.guard([this] { add(); })});
}

} // namespace vorlin
