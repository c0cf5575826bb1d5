#pragma once

#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"
#include "Ports/Permissions.h"

#include <functional>
#include <utility>

namespace vorlin {

/// What the display and the sound server offer this process; both answers are kept by events.
/// There is nobody to ask: what they offer needs no consent, what they lack nobody can grant.
class LinuxPermissions final : public Permissions {
public:
    /// `hasKeys`: whether the display lets this process watch and post keys; called on the main
    /// loop and must cost nothing. `microphone` must outlive this object.
    LinuxPermissions(std::function<bool()> hasKeys, const PulseMicrophoneAccess& microphone)
        : hasKeys(std::move(hasKeys)), microphone(microphone)
    {
    }

    bool isTrusted() const override { return hasKeys(); }
    bool microphoneGranted() const override { return microphone.granted().get(); }
    bool microphoneAnswered() const override { return microphone.answered(); }
    void promptForTrust() override {}
    void requestMicrophone() override {}

private:
    std::function<bool()> hasKeys;
    const PulseMicrophoneAccess& microphone;
};

} // namespace vorlin
