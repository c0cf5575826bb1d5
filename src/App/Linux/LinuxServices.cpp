#include "App/Linux/LinuxServices.h"

#include "Platform/Linux/Desktop/ThreadPriority.h"

#include <QCoreApplication>
#include <QDBusConnection>

namespace vorlin {

LinuxServices::LinuxServices(const Environment& environment)
    : workers(lowerThreadPriority),
      folders(std::make_shared<XDGFolders>(modelsFolder(environment))),
      workingFolders(std::make_shared<DiskWorkingFolders>()), http(loop, workers),
      mlModels(workers),
      defaults(settingsPath(environment), loop, workers.executor(WorkPriority::normal)),
      state(statePath(environment), loop, workers.executor(WorkPriority::background)),
      locale(environment),
      loginItem(environment, QCoreApplication::applicationFilePath().toStdString()),
      session(QDBusConnection::sessionBus(), environment, workers, loop),
      microphoneAccess(pulse, loop), audioInput(pulse, loop), sounds(pulse),
      speechAnalyzers(speechModelFolders(environment), workers, loop), appearance(environment)
{
}

LinuxServices::~LinuxServices()
{
    mlModels.close();    // first, so that no worker waits for an engine process
    defaults.writeNow(); // nothing that hangs below costs a setting
    state.writeNow();
    http.close();
    workers.close();
}

} // namespace vorlin
