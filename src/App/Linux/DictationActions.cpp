#include "App/Linux/DictationActions.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace vorlin {

namespace {

constexpr std::pair<std::string_view, DictationAction> actions[] = {
    {"press", DictationAction::press},
    {"release", DictationAction::release},
    {"toggle", DictationAction::toggle},
    {"cancel", DictationAction::cancel}};

} // namespace

void followActions(DBusApplication& application, AppModel& model)
{
    application.setOnAction([&model](const std::string& name) {
        const auto* const found =
            std::ranges::find(actions, name, [](const auto& each) { return each.first; });
        if (found != std::end(actions)) {
            model.perform(found->second);
        }
    });
}

} // namespace vorlin
