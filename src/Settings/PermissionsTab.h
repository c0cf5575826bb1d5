#pragma once

#include "AppModel.h"
#include "Ports/Permissions.h"
#include "Ports/Ports.h"
#include "Ports/Session.h"
#include "Ports/Workspace.h"
#include "Settings/Form.h"
#include "Settings/WorkspaceWishes.h"

#include <vector>

namespace vorlin {

/// What the program needs to be allowed, and what it promises. Main loop.
class PermissionsTab final : public FormModel {
public:
    /// All must outlive this object.
    PermissionsTab(AppModel& model, const Ports& ports);

private:
    void update();
    FormRow accessibilityRow();
    FormRow row(const std::string& title, const std::string& reason, bool granted,
                SystemPanel panel);

    AppModel& model;
    Permissions& permissions;
    const Session& session;
    Workspace& workspace;
    WorkspaceWishes wishes;
    std::vector<Subscription> changes;
    Lifetime lifetime;
};

} // namespace vorlin
