#pragma once

#include "Platform/macOS/Plain/MainLoopDoor.h"
#include "Ports/Permissions.h"

#include <functional>

namespace vorlin {

/// What the person has allowed this process: to use accessibility, and the microphone.
class MacPermissions final : public Permissions {
public:
    /// `loop` must outlive this object.
    explicit MacPermissions(MainLoop& loop) : door(loop) {}

    /// Called on the main loop when the person has answered about the microphone.
    std::function<void()> onMicrophoneAnswer = [] {};

    bool isTrusted() const override;
    bool microphoneGranted() const override;
    bool microphoneAnswered() const override;
    bool isKeyboardSecured() const override;
    void promptForTrust() override;
    void requestMicrophone() override;

private:
    OwnedDoor door;
};

} // namespace vorlin
