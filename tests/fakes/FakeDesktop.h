#pragma once

#include "Hotkey.h"
#include "Ports/Defaults.h"
#include "Ports/FocusedProgram.h"
#include "Ports/KeyPoster.h"
#include "Ports/Locale.h"
#include "Ports/Permissions.h"
#include "Ports/Session.h"
#include "Ports/Sounds.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {

/// A key event that was posted.
struct PostedKey {
    std::uint16_t keyCode = 0;
    bool keyDown = false;
    std::uint64_t flags = 0;

    bool operator==(const PostedKey&) const = default;
};

class FakeKeyPoster final : public KeyPoster {
public:
    std::vector<PostedKey> posted;
    /// Called on each event, as the focused program would see it.
    std::function<void(const PostedKey&)> onPost = [](const PostedKey&) {};

    KeyReadiness ready = KeyReadiness::ready;
    /// Between `prepare` and `rest`.
    bool isPrepared = false;

    void prepare() override { isPrepared = true; }
    void rest() override { isPrepared = false; }
    KeyReadiness readiness() const override { return ready; }
    void post(std::uint16_t keyCode, bool keyDown, std::uint64_t flags) override
    {
        posted.push_back({keyCode, keyDown, flags});
        onPost(posted.back());
    }
};

class FakeFocusedProgram final : public FocusedProgram {
public:
    PasteChord chord{keyCodes::v, eventFlags::maskCommand, PasteSource::clipboard};
    /// The focused window, where this desktop tells.
    std::optional<std::uint64_t> focused;
    bool isNowKnown = true;
    /// Called by each look before it ends.
    std::function<void()> onLook = [] {};
    /// Else the test ends them.
    bool looksEndAtOnce = true;
    std::vector<std::function<void()>> looks;
    PasteChord pasteChord() override { return chord; }
    bool isKnown() const override { return isNowKnown; }
    std::optional<std::uint64_t> window() override { return focused; }
    void look(std::function<void()> found) override
    {
        looks.push_back(std::move(found));
        if (looksEndAtOnce) {
            endLooks();
        }
    }
    void endLooks()
    {
        onLook();
        for (const auto& found : std::exchange(looks, {})) {
            found();
        }
    }
};

class FakeDefaults final : public Defaults {
public:
    std::map<std::string, DefaultsValue> values;
    /// Whether there was no store before.
    bool absent = false;

    bool create() override { return std::exchange(absent, false); }
    std::optional<DefaultsValue> value(const std::string& key) const override
    {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    void set(const std::string& key, std::optional<DefaultsValue> value) override
    {
        if (value) {
            values[key] = std::move(*value);
        } else {
            values.erase(key);
        }
        const auto current = observers;
        for (const auto& weak : current) {
            if (const auto observer = weak.lock()) {
                (*observer)(key);
            }
        }
    }
    std::shared_ptr<const void> observe(std::function<void(const std::string&)> observer) override
    {
        auto entry = std::make_shared<const Observer>(std::move(observer));
        observers.push_back(entry);
        return entry;
    }

private:
    using Observer = std::function<void(const std::string&)>;
    std::vector<std::weak_ptr<const Observer>> observers;
};

class FakePermissions final : public Permissions {
public:
    bool trusted = true;
    bool unasked = false;
    bool microphone = true;
    bool answered = true;
    bool keyboardSecured = false;
    int trustPrompts = 0;
    bool canAsk = false;
    bool asksForTyping = false;
    std::string obstacle;
    /// Of the questions that the person wished for, the keys.
    std::vector<Hotkey> asked;
    int microphoneRequests = 0;
    /// Called when it is asked whether this program is trusted.
    std::function<void()> onIsTrusted = [] {};

    bool isTrusted() const override
    {
        onIsTrusted();
        return trusted;
    }
    bool isTrustUnasked() const override { return unasked; }
    bool microphoneGranted() const override { return microphone; }
    bool microphoneAnswered() const override { return answered; }
    bool isKeyboardSecured() const override { return keyboardSecured; }
    void promptForTrust() override { ++trustPrompts; }
    bool canAskForTrust() const override { return canAsk; }
    bool wouldAskForTyping() const override { return canAsk && asksForTyping; }
    std::string trustObstacle() const override { return obstacle; }
    void askForTrust(const Hotkey& hotkey) override { asked.push_back(hotkey); }
    void requestMicrophone() override { ++microphoneRequests; }
};

class FakeSession final : public Session {
public:
    bool isKeptAwake = false;

    /// The person goes, or comes back.
    using Session::setAway;
    void keepAwake(bool on) override { isKeptAwake = on; }
};

class FakeSounds final : public Sounds {
public:
    std::vector<std::string> played;
    void play(const std::string& name) override { played.push_back(name); }
};

class FakeLocale final : public Locale {
public:
    std::string code = "en";
    std::string languageCode() const override { return code; }
};

} // namespace vorlin
