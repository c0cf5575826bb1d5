#include "App/Linux/LinuxDesktop.h"

#include "Platform/Linux/Desktop/ThreadPriority.h"

namespace vorlin {

LinuxDesktop::LinuxDesktop(const Environment& environment)
    : workers(lowerThreadPriority), folders(modelsFolder(environment)), mlModels(workers),
      defaults(settingsPath(environment), loop, workers.executor(WorkPriority::normal)),
      locale(environment), keyAccess(keyboard), eventTap(keyboard), keyPoster(keyboard),
      focusedProgram(keyboard.server()), pasteboard(loop), microphoneAccess(pulse, loop),
      audioInput(pulse, loop), sounds(pulse),
      speechAnalyzers(speechModelFolders(environment), workers, loop),
      permissions(keyAccess, microphoneAccess), screens(environment), overlayPanel(screens),
      appearance(environment)
{
}

LinuxDesktop::~LinuxDesktop()
{
    workers.close();
}

Ports LinuxDesktop::ports()
{
    return {loop,           audioInput, audioConverters, speechAnalyzers, eventTap, keyPoster,
            focusedProgram, pasteboard, defaults,        permissions,     sounds,   locale,
            mlModels,       folders,    random,          workers,         screens,  overlayPanel};
}

} // namespace vorlin
