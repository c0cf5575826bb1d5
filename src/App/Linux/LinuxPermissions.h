#pragma once

#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"
#include "Platform/Linux/Keys/X11KeyAccess.h"
#include "Ports/Permissions.h"

namespace vorlin {

/// What the display and the sound server offer this process; both answers are kept by events.
/// There is nobody to ask: what they offer needs no consent, what they lack nobody can grant.
class LinuxPermissions final : public Permissions {
public:
    /// Both must outlive this object.
    LinuxPermissions(const X11KeyAccess& keys, const PulseMicrophoneAccess& microphone)
        : keys(keys), microphone(microphone)
    {
    }

    bool isTrusted() const override { return keys.granted().get(); }
    bool microphoneGranted() const override { return microphone.granted().get(); }
    void promptForTrust() override {}
    void requestMicrophone() override {}

private:
    const X11KeyAccess& keys;
    const PulseMicrophoneAccess& microphone;
};

} // namespace vorlin
