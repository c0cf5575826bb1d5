#pragma once

#include "Ports/WorkingFolders.h"

namespace vorlin {

/// Working folders on a disk of this machine, each exchanged with the model folder that it is to
/// replace in one step of the file system. Where that knows no such step, a death in the middle may
/// leave the model folder's place empty: what is made or discarded there next brings back what lay
/// in it.
class DiskWorkingFolders final : public WorkingFolders {
public:
    std::shared_ptr<WorkingFolder> beside(const std::filesystem::path& destination) override;
};

} // namespace vorlin
