#pragma once

#include "Hotkey.h"

#include <string>

namespace vorlin {

/// What the desktop allows this process. Main loop. The two questions are asked every 1.5 s and
/// must cost nothing: answers are cached and kept by events.
class Permissions {
public:
    virtual ~Permissions() = default;

    /// May watch and post key events, as far as the desktop can let it and the person has not said
    /// no.
    virtual bool isTrusted() const = 0;

    /// Whether the person is still to be asked for some of that, by `askForTrust`.
    virtual bool isTrustUnasked() const { return false; }

    /// May record from the microphone.
    virtual bool microphoneGranted() const = 0;

    /// Whether `microphoneGranted` is what was answered; until then it is false.
    virtual bool microphoneAnswered() const = 0;

    /// Whether some program has the keyboard to itself, as for a password, so that no key can be
    /// watched; on desktops that know of such a thing.
    virtual bool isKeyboardSecured() const { return false; }

    /// Lets the platform ask the person for `isTrusted`, where it has such a question.
    virtual void promptForTrust() = 0;

    /// Whether `askForTrust` can bring a question to the person: for what `isTrusted` lacks, or for
    /// what would be of use besides.
    virtual bool canAskForTrust() const { return false; }

    /// Whether it is typing into other programs that the person would be asked for, and not only to
    /// be told of keys.
    virtual bool wouldAskForTyping() const { return false; }

    /// What keeps `isTrusted` from being asked for, as a sentence for the person; empty where
    /// nothing does.
    virtual std::string trustObstacle() const { return {}; }

    /// Has the desktop ask the person, who has just wished it, for what is not granted yet: perhaps
    /// to be told of `hotkey`.
    virtual void askForTrust(const Hotkey& /*hotkey*/) {}

    /// Lets the platform ask the person for the microphone, where it has such a question.
    virtual void requestMicrophone() = 0;
};

} // namespace vorlin
