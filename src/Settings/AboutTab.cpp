#include "Settings/AboutTab.h"

namespace vorlin {

AboutTab::AboutTab(const BuildFacts& build, Workspace& workspace, const Wording& wording)
    : FormModel(wording), workspace(workspace)
{
    Command maker{.text = build.maker, .help = build.makerLink};
    if (!build.makerLink.empty()) {
        maker.press =
            lifetime.guard([this, link = build.makerLink] { this->workspace.openLink(link); });
    }
    setForm({{{},
              {},
              {{"about",
                "Vorlin",
                AboutControl{"vorlin", "Version " + build.version,
                             "Private voice dictation. Everything runs on your Mac: no account, no "
                             "cloud.",
                             "Developed by", maker},
                {}}},
              {}}});
}

} // namespace vorlin
