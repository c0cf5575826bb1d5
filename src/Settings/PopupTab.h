#pragma once

#include "AppModel.h"
#include "Settings/Form.h"

namespace vorlin {

/// The settings of the overlay. Every change, and Preview, shows it. Main loop.
class PopupTab final : public FormModel {
public:
    /// Both must outlive this object.
    PopupTab(AppModel& model, const Wording& wording);

private:
    void update();
    FormSection placement();
    FormSection content();
    /// What `change` does, then the overlay as it is now.
    template <class... Arguments, class Change>
    Action<Arguments...> previewed(Change change);

    AppModel& model;
    Subscription settingChanges;
    Lifetime lifetime;
};

} // namespace vorlin
