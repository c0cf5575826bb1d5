#include "Platform/Linux/Engine/EngineProgram.h"

#include <system_error>

namespace vorlin {

std::filesystem::path engineProgram()
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path beside = folder / "vorlin-engine";
    const fs::path installed = folder.parent_path() / "libexec" / "vorlin" / "vorlin-engine";
    return !fs::exists(beside, ignored) && fs::exists(installed, ignored) ? installed : beside;
}

} // namespace vorlin
