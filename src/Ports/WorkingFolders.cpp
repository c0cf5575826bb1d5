#include "Ports/WorkingFolders.h"

namespace vorlin {

DiskError DiskError::full()
{
    return DiskError("The disk is full. Make room and try again.");
}

DiskError DiskError::refused(const std::string& reason)
{
    return DiskError("The models folder cannot be written to: " + reason + ".");
}

} // namespace vorlin
