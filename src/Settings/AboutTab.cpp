#include "Settings/AboutTab.h"

#include "Ports/Workspace.h"

#include <utility>

namespace vorlin {

namespace {

constexpr const char* onlyRow = "about";

} // namespace

AboutTab::AboutTab(BuildFacts facts, const Ports& ports)
    : FormModel(ports.wording), build(std::move(facts)), workspace(ports.workspace),
      wishes(ports.loop, [this] { update(); })
{
    update();
}

void AboutTab::update()
{
    Command maker{.text = build.maker, .help = build.makerLink};
    if (!build.makerLink.empty()) {
        maker.press =
            lifetime.guard([this] { wishes.follow(onlyRow, workspace.openLink(build.makerLink)); });
    }
    setForm({{{},
              {},
              {{onlyRow,
                "Vorlin",
                AboutControl{"vorlin", "Version " + build.version,
                             "Private voice dictation. Everything runs on your Mac: no account, no "
                             "cloud.",
                             "Developed by", maker},
                {},
                wishes.problem(onlyRow)}},
              {}}});
}

} // namespace vorlin
