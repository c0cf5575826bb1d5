#include "Platform/macOS/Plain/PrivacyPanes.h"

namespace vorlin {

std::string privacyPane(SystemPanel panel)
{
    const std::string anchor =
        panel == SystemPanel::microphone ? "Privacy_Microphone" : "Privacy_Accessibility";
    return "x-apple.systempreferences:com.apple.preference.security?" + anchor;
}

} // namespace vorlin
