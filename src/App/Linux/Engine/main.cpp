// vorlin-engine: computes models for Vorlin, which starts it. It confines itself before it reads
// anything, and ends when Vorlin does.
#include "Confinement.h"
#include "ModelServer.h"
#include "Platform/Linux/Engine/Wire/Startup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace {

bool isStartedByVorlin()
{
    struct stat control = {};
    struct stat folder = {};
    return ::fstat(vorlin::engine::controlDescriptor, &control) == 0 && S_ISSOCK(control.st_mode) &&
           ::fstat(vorlin::engine::folderDescriptor, &folder) == 0 && S_ISDIR(folder.st_mode);
}

} // namespace

int main()
{
    using namespace vorlin::engine;
    using vorlin::Descriptor;

    if (!isStartedByVorlin()) {
        std::fputs("vorlin-engine: Vorlin starts this program when it needs it.\n", stderr);
        return exitWrongStart;
    }
    if (!confine(folderDescriptor)) {
        return exitUnconfined;
    }
    ModelServer server{Descriptor(controlDescriptor)};
    server.run();
    ::_exit(0); // threads may still compute; nobody waits for them
}
