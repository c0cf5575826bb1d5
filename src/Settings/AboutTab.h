#pragma once

#include "Ports/Ports.h"
#include "Settings/Form.h"
#include "Settings/WorkspaceWishes.h"

#include <string>

namespace vorlin {

/// What was fixed when the program was built.
struct BuildFacts {
    std::string version;
    /// Who made it, and their web page: an https address, or empty.
    std::string maker;
    std::string makerLink;
};

/// What the program is, and who made it. Main loop.
class AboutTab final : public FormModel {
public:
    /// What `ports` names must outlive this object.
    AboutTab(BuildFacts build, const Ports& ports);

private:
    void update();

    const BuildFacts build;
    Workspace& workspace;
    WorkspaceWishes wishes;
    Lifetime lifetime;
};

} // namespace vorlin
