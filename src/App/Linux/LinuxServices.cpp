#include "App/Linux/LinuxServices.h"

#include "Platform/Linux/Desktop/ThreadPriority.h"

namespace vorlin {

LinuxServices::LinuxServices(const Environment& environment)
    : workers(lowerThreadPriority), folders(modelsFolder(environment)), mlModels(workers),
      defaults(settingsPath(environment), loop, workers.executor(WorkPriority::normal)),
      locale(environment), microphoneAccess(pulse, loop), audioInput(pulse, loop), sounds(pulse),
      speechAnalyzers(speechModelFolders(environment), workers, loop), appearance(environment)
{
}

LinuxServices::~LinuxServices()
{
    workers.close();
}

} // namespace vorlin
