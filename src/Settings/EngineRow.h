#pragma once

#include "Models/ModelStore.h"
#include "Ports/Workspace.h"
#include "Settings/Form.h"
#include "Settings/WorkspaceWishes.h"

#include <functional>
#include <memory>
#include <string>

namespace vorlin {

/// What the row of an engine works with; all of it outlives the row's actions.
struct EngineRowNeeds {
    ModelStore& store;
    Workspace& workspace;
    /// By the engine's id.
    WorkspaceWishes& wishes;
    const Wording& wording;
    /// Makes an action of the row do nothing once nobody is there for it.
    const Lifetime& lifetime;
};

/// One engine of the list as a row, by its state. One whose folder has not answered yet can
/// neither be selected nor changed. `speed` is what is known of its speed here; may be empty.
FormRow engineRow(const Engine& engine, const std::string& speed, const EngineRowNeeds& needs);

} // namespace vorlin
