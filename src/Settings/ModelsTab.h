#pragma once

#include "Models/EngineSpeeds.h"
#include "Models/ModelStore.h"
#include "Ports/Ports.h"
#include "Settings/AddModelSheet.h"
#include "Settings/Form.h"
#include "Settings/WorkspaceWishes.h"

#include <memory>
#include <vector>

namespace vorlin {

/// The speech engines: which is used, which are here, and how to get more. Main loop.
class ModelsTab final : public FormModel {
public:
    /// All must outlive this object.
    ModelsTab(ModelStore& store, const EngineSpeeds& speeds, const Ports& ports);

    AddModelSheet sheet;

private:
    void update();
    void showRoot();

    MainLoop& loop;
    Workers& workers;
    Workspace& workspace;
    const std::shared_ptr<Folders> folders;
    ModelStore& store;
    const EngineSpeeds& speeds;
    WorkspaceWishes wishes;
    std::vector<Subscription> changes;
    Lifetime lifetime;
};

} // namespace vorlin
