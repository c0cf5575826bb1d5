#pragma once

#include "Ports/Workspace.h"
#include "Settings/Form.h"

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
    /// Both references must outlive this object.
    AboutTab(const BuildFacts& build, Workspace& workspace, const Wording& wording);

private:
    Workspace& workspace;
    Lifetime lifetime;
};

} // namespace vorlin
