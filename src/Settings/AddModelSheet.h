#pragma once

#include "Models/ModelStore.h"
#include "Ports/Workspace.h"
#include "Settings/Form.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace vorlin {

/// The sheet in which a person adds an engine: a form, and two buttons under it. Main loop.
class AddModelSheet final : public FormModel {
public:
    /// All must outlive this object.
    AddModelSheet(MainLoop& loop, ModelStore& store, Workspace& workspace, const Wording& wording);
    AddModelSheet(const AddModelSheet&) = delete;
    AddModelSheet& operator=(const AddModelSheet&) = delete;
    /// Takes a folder dialog that is still open along.
    ~AddModelSheet();

    /// The sheet is shown.
    Published<bool, AddModelSheet> adding{false};
    /// "Cancel", and the button that adds; each dismisses the sheet.
    Published<Command, AddModelSheet> cancel;
    Published<Command, AddModelSheet> confirm;

    /// Shows the sheet, empty.
    void open();
    /// Dismisses it, and with it a folder dialog that is still open.
    void dismiss();

    /// Whether what was entered can be handed to the store, which looks at it closely.
    bool canAdd() const;
    /// Hands it over, if it can be, and dismisses the sheet. What fails shows in `lastError`.
    void add();
    /// Lets the person choose the folder; on cancel nothing changes.
    void chooseFolder();

private:
    /// As the picker has them.
    enum class Source { hub, folder };

    void update();
    std::vector<FormRow> rows();
    template <class Value>
    Action<Value> edit(Value AddModelSheet::*value);
    Task<void> askForFolder(std::size_t number);

    MainLoop& loop;
    ModelStore& store;
    Workspace& workspace;
    Source source = Source::hub;
    std::string name;
    std::string repo;
    std::optional<std::filesystem::path> folder;
    std::string folderProblem;
    /// Counts the times the sheet was opened: a dialog's answer under an older one is stale.
    std::size_t opened = 0;
    Lifetime lifetime;
};

} // namespace vorlin
