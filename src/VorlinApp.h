#pragma once

#include "AppModel.h"
#include "Ports/Ports.h"

#include <memory>

namespace vorlin {

/// The application: holds the one model for the life of the process. Main loop.
class VorlinApp {
public:
    /// What `ports` names must outlive this object.
    explicit VorlinApp(const Ports& ports);

    /// The model, created by the first call.
    AppModel& model();

private:
    const Ports ports;
    std::unique_ptr<AppModel> created;
};

} // namespace vorlin
