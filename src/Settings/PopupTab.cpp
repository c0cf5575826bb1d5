#include "Settings/PopupTab.h"

#include "HUDView.h"
#include "Settings/PositionGrid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace vorlin {

namespace {

/// Points from the screen's edge: more than a panel and its shadow take, up to a fifth of a small
/// screen; the default lies on a step.
constexpr double mostMargin = 200;
constexpr double marginStep = 4;

struct SizeChoice {
    HUDSize size;
    std::string_view id;
    std::string_view label;
};
constexpr std::array<SizeChoice, 3> sizeChoices = {{
    {HUDSize::small, "small", "Small"},
    {HUDSize::medium, "medium", "Medium"},
    {HUDSize::large, "large", "Large"},
}};

/// The size whose scale is stored exactly; none for a scale stored by other means.
std::optional<std::size_t> selectedSize(double stored)
{
    const auto found = std::ranges::find_if(
        sizeChoices, [stored](const SizeChoice& each) { return scale(each.size) == stored; });
    return found == sizeChoices.end() ? std::nullopt
                                      : std::optional(std::size_t(found - sizeChoices.begin()));
}

} // namespace

PopupTab::PopupTab(AppModel& model, const Wording& wording) : FormModel(wording), model(model)
{
    settingChanges = model.preferences.observe([this] { update(); });
    update();
}

template <class... Arguments, class Change>
Action<Arguments...> PopupTab::previewed(Change change)
{
    return lifetime.guard([this, change](Arguments... arguments) {
        change(model.preferences, arguments...);
        model.previewHUD();
    });
}

void PopupTab::update()
{
    const auto preview = previewed<>([](Preferences&) {});
    setForm({placement(),
             content(),
             {{},
              {},
              {{"preview",
                {},
                ButtonControl{{"Preview", "play.circle", {}, true, false, preview}},
                {}}},
              {}}});
}

FormSection PopupTab::placement()
{
    const Preferences& stored = model.preferences;
    const HUDPosition position = stored.hudPosition();
    const double margin = HUDSettings::read(stored).margin;

    const FormRow grid{
        "position",
        "Position",
        positionGrid(position, previewed<std::size_t>([](Preferences& to, std::size_t index) {
                         to.setHUDPosition(hudPositions.at(index));
                     })),
        {}};
    const FormRow distance{
        "margin", "Distance from edge",
        SliderControl{.value = std::min(margin, mostMargin),
                      .least = 0,
                      .most = mostMargin,
                      .step = marginStep,
                      .text = std::to_string(std::llround(margin)),
                      .set = previewed<double>([](Preferences& to, double points) {
                          to.setHUDMargin(std::clamp(points, 0.0, mostMargin));
                      })},
        position == HUDPosition::middleCenter ? "Not used when centered. Pick an edge or corner."
                                              : ""};
    const FormRow display{
        "display",
        "Display",
        PickerControl{PickerControl::Style::menu,
                      {{"cursor", "Screen with the cursor", {}}, {"main", "Main display", {}}},
                      static_cast<std::size_t>(stored.hudDisplay()),
                      previewed<std::size_t>([](Preferences& to, std::size_t index) {
                          to.setHUDDisplay(index == 0 ? HUDDisplay::cursor : HUDDisplay::main);
                      })},
        {}};
    PickerControl sizes{PickerControl::Style::segmented,
                        {},
                        selectedSize(stored.hudScale()),
                        previewed<std::size_t>([](Preferences& to, std::size_t index) {
                            to.setHUDScale(scale(sizeChoices.at(index).size));
                        })};
    for (const auto& each : sizeChoices) {
        sizes.choices.push_back({std::string(each.id), std::string(each.label), {}});
    }
    return {"Placement", {}, {grid, distance, display, {"size", "Size", sizes, {}}}, {}};
}

FormSection PopupTab::content()
{
    const Preferences& stored = model.preferences;
    return {
        "Content",
        {},
        {{"showText",
          "Show live text while speaking",
          ToggleControl{stored.hudShowText(),
                        previewed<bool>([](Preferences& to, bool on) { to.setHUDShowText(on); })},
          {}},
         {"textMode",
          "Long text",
          PickerControl{PickerControl::Style::menu,
                        {{"clip", "Clip to one line", {}}, {"full", "Show in full", {}}},
                        static_cast<std::size_t>(stored.hudTextMode()),
                        previewed<std::size_t>([](Preferences& to, std::size_t index) {
                            to.setHUDTextMode(index == 0 ? HUDTextMode::clip : HUDTextMode::full);
                        })},
          {}},
         {"showEsc",
          "Show the “esc” cancel hint",
          ToggleControl{stored.hudShowEsc(),
                        previewed<bool>([](Preferences& to, bool on) { to.setHUDShowEsc(on); })},
          {}}},
        {}};
}

} // namespace vorlin
