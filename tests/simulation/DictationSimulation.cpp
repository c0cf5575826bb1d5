#include "AppModel.h"
#include "fakes/FakePorts.h"
#include "simulation/Seeds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using Phase = Dictation::Phase;

/// One person at one desktop: random keys, speech, faults and time, all out of one seed.
class Person {
public:
    explicit Person(std::uint64_t seed) : random(seed), desktop(seed)
    {
        desktop.permissions.trusted = chance(90);
        desktop.tap.canLoseReleases = chance(50);
        desktop.pasteboard.copy(FakePasteboard::text("copied 0"));
        desktop.keys.onPost = [this](const PostedKey& key) { programSees(key); };
        desktop.pasteboard.onCopyString = [this](const std::string& text) { isLeft(text); };
        desktop.panel.tellsReplaced = chance(50);
        model = std::make_unique<AppModel>(desktop.ports());
        const auto onFinished = model->dictation.onFinished;
        model->dictation.onFinished = [this, onFinished](const std::string& text) {
            ++finished;
            if (!text.empty()) {
                expected.push_back(text);
            }
            onFinished(text);
        };
        const auto onCancelled = model->dictation.onCancelled;
        model->dictation.onCancelled = [this, onCancelled] {
            cancelled += model->dictation.isDemo.get() ? 0 : 1; // a preview was never started
            onCancelled();
        };
        watch = model->dictation.phase.observe([this](Phase phase) {
            started += phase == Phase::preparing ? 1 : 0;
            EXPECT_EQ(desktop.tap.interest.escape, phase != Phase::idle && desktop.tap.isRunning())
                << "Escape is grabbed exactly while a dictation runs";
        });
    }

    void act()
    {
        switch (below(20)) {
        case 0:
        case 1:
        case 2: held ? release() : press(); break;
        case 3: escape(); break;
        case 4: speak(); break;
        case 5: copySomething(); break;
        case 6: setFaults(); break;
        case 7: completeWhatWaits(); break;
        case 8: desktop.defaults.values["recordMode"] = chance(50) ? "hold" : "toggle"; break;
        case 9: desktop.permissions.trusted = chance(90); break;
        case 10: model->previewHUD(); break;
        case 11: changeOverlaySetting(); break;
        case 12: changeScreens(); break;
        case 13: editHotkey(); break;
        case 14: chance(30) ? leave() : desktop.session.setAway(false); break;
        case 15: desktop.focus.focused = chance(30) ? std::nullopt : std::optional(below(3)); break;
        case 16: model->perform(static_cast<DictationAction>(below(4))); break;
        case 17: loseRelease(); break;
        case 18: desktop.loop.advance(chance(20) ? 31s : 1s); break;
        default: desktop.loop.advance(std::chrono::milliseconds(below(1200))); break;
        }
        if (chance(50)) {
            desktop.loop.runReady();
        }
        check();
    }

    /// Lets everything come to rest and looks at what remains.
    void rest()
    {
        desktop.permissions.trusted = true;
        desktop.session.setAway(false);
        desktop.loop.advance(31s);
        if (desktop.tap.canLoseReleases) {
            EXPECT_NE(model->dictation.phase.get(), Phase::listening) << "nobody has spoken";
        }
        desktop.defaults.values["recordMode"] = "hold";
        desktop.analyzers.finishesAtOnce = true;
        desktop.analyzers.assetsInstalled = true;
        desktop.analyzers.looksAtOnce = true;
        desktop.microphone.completesAtOnce = true;
        for (int i = 0; i < 8 && model->dictation.phase.get() != Phase::idle; ++i) {
            completeWhatWaits();
            desktop.tap.pressOption();
            desktop.loop.advance(10ms);
            desktop.tap.releaseOption();
            desktop.loop.advance(10s);
        }
        desktop.loop.advance(60s);
        EXPECT_EQ(model->dictation.phase.get(), Phase::idle);
        EXPECT_FALSE(desktop.panel.isVisible()) << "the overlay does not stay";
        EXPECT_FALSE(desktop.microphone.isCapturing());
        EXPECT_EQ(started, finished + cancelled) << "one end for every dictation";
        EXPECT_EQ(pasted, expected) << "every text is pasted once, in order, but for the dropped";
        EXPECT_EQ(desktop.pasteboard.string(), lastCopy) << "the person's copy is back";
        EXPECT_EQ(desktop.keys.posted.size() % 2, 0U);
    }

private:
    std::uint64_t below(std::uint64_t bound) { return random() % bound; }
    bool chance(std::uint64_t percent) { return below(100) < percent; }

    void press()
    {
        held = true;
        desktop.tap.pressOption();
    }
    /// Somebody lets go of the key, and only some desktops tell.
    void loseRelease()
    {
        if (desktop.tap.canLoseReleases) {
            held = false;
        }
    }
    void release()
    {
        held = false;
        desktop.tap.releaseOption();
    }
    void escape()
    {
        const bool running = model->dictation.phase.get() != Phase::idle;
        const bool watched = desktop.tap.isRunning();
        EXPECT_EQ(desktop.tap.keyDown(keyCodes::escape), running && watched);
    }
    /// What waits for its chord by then is dropped.
    void leave()
    {
        desktop.session.setAway(true);
        expected.resize(chords);
    }
    void speak()
    {
        const auto buffers = below(50);
        for (std::uint64_t i = 0; i < buffers; ++i) {
            desktop.microphone.deliver(chance(50) ? 0.0F : 0.1F);
        }
        if (!desktop.analyzers.streams.empty() && desktop.microphone.isCapturing()) {
            auto& stream = *desktop.analyzers.streams.back();
            if (!stream.cancelled && !stream.finishing) {
                stream.onResult("utterance " + std::to_string(++utterances), chance(70));
            }
        }
    }
    /// Not between a paste and its reading: then the copy would rightly be what is pasted.
    void copySomething()
    {
        if (pasting > 0) {
            return;
        }
        lastCopy = "copied " + std::to_string(++copies);
        desktop.pasteboard.copy(FakePasteboard::text(lastCopy));
    }
    void setFaults()
    {
        desktop.microphone.startFailure = chance(20) ? "No microphone was found." : "";
        desktop.analyzers.finishFailure = chance(20) ? "The recogniser failed." : "";
        desktop.analyzers.finishesAtOnce = chance(70);
        desktop.analyzers.assetsInstalled = chance(80);
        desktop.analyzers.looksAtOnce = chance(80);
        desktop.microphone.completesAtOnce = desktop.microphone.idle() ? chance(70) : true;
        if (chance(20)) {
            desktop.microphone.fail("The microphone was disconnected.");
        }
    }
    /// The key becomes another one and then the same again, held or not.
    void editHotkey()
    {
        for (const Hotkey& key : {Hotkey{96, 0, false}, Hotkey()}) {
            const std::string json = key.encoded();
            desktop.defaults.set("hotkey.v2", Bytes(json.begin(), json.end()));
        }
    }
    void changeOverlaySetting()
    {
        auto& defaults = desktop.defaults;
        switch (below(7)) {
        case 0:
            defaults.set("hud.position", std::string(rawValue(hudPositions.at(below(9)))));
            break;
        case 1:
            defaults.set("hud.margin", std::array{0.0, 56.0, 200.0, -1e9, 1e300}.at(below(5)));
            break;
        case 2:
            defaults.set("hud.scale", std::array{0.85, 1.0, 1.3, 0.0, 1e300}.at(below(5)));
            break;
        case 3: defaults.set("hud.display", chance(50) ? "main" : "cursor"); break;
        case 4: defaults.set("hud.textMode", chance(50) ? "full" : "clip"); break;
        case 5: defaults.set("hud.showText", chance(50)); break;
        default: defaults.set("hud.showEsc", chance(50)); break;
        }
    }
    /// Screens come, go and change their size, sometimes all of them; the pointer wanders.
    void changeScreens()
    {
        std::vector<Screen> now;
        for (int i = 0; i < 3; ++i) {
            if (chance(60)) {
                const double width = 800 + 100 * static_cast<double>(below(10));
                const Rect frame{2000.0 * i, 0, width, 600};
                now.push_back({std::to_string(i), frame, frame, chance(30)});
            }
        }
        desktop.screens.pointerAt = Point{static_cast<double>(below(6000)), 300};
        desktop.screens.change(std::move(now));
    }
    void checkOverlay()
    {
        if (desktop.screens.screens.empty()) {
            return;
        }
        if (model->dictation.phase.get() != Phase::idle) {
            EXPECT_TRUE(desktop.panel.isShown()) << "a person sees that a dictation runs";
        }
        const auto settings = HUDSettings::read(model->preferences);
        const auto placedFor = [&](const Screen& screen) {
            return desktop.panel.frame == panelFrame(screen.visibleFrame,
                                                     panelSize(settings.scale, settings.textMode),
                                                     settings.position, settings.margin);
        };
        EXPECT_TRUE(!desktop.panel.isVisible() ||
                    std::ranges::any_of(desktop.screens.screens, placedFor))
            << "it stands where the settings want it, on a screen that is there";
    }
    void completeWhatWaits()
    {
        desktop.loop.runReady();
        desktop.analyzers.completeLookups();
        desktop.loop.runReady();
        desktop.analyzers.completeInstallation();
        desktop.loop.runReady();
        desktop.microphone.completeWhatWaits();
        for (const auto& stream : desktop.analyzers.streams) {
            desktop.analyzers.finish(*stream);
        }
    }
    /// The focused program pastes up to 2 s after the chord; it reads the same text only once.
    void programSees(const PostedKey& key)
    {
        if (key.keyDown) {
            EXPECT_FALSE(desktop.session.isAway().get()) << "nothing is pasted into a locker";
            ++chords;
            ++pasting;
            desktop.loop.postAfter(std::chrono::milliseconds(below(2000)), [this] {
                --pasting;
                pasted.push_back(desktop.pasteboard.read());
            });
        }
    }
    /// A text that nobody ended is on the clipboard instead, in its turn.
    void isLeft(const std::string& text)
    {
        ASSERT_LT(chords, expected.size());
        const auto turn = expected.begin() + static_cast<std::ptrdiff_t>(chords);
        EXPECT_EQ(*turn, text);
        expected.erase(turn);
        lastCopy = text;
    }
    void check()
    {
        const auto phase = model->dictation.phase.get();
        if (phase == Phase::idle) {
            EXPECT_FALSE(desktop.microphone.isCapturing()) << "no recording while idle";
            EXPECT_FALSE(desktop.session.isKeptAwake) << "the desktop may sleep";
        }
        EXPECT_EQ(model->dictation.levels.get().size(), 28U);
        checkOverlay();
    }

    std::mt19937_64 random;
    FakePorts desktop;
    std::unique_ptr<AppModel> model;
    Subscription watch;
    bool held = false;
    int started = 0;
    int finished = 0;
    int cancelled = 0;
    int utterances = 0;
    int copies = 0;
    int pasting = 0;
    std::size_t chords = 0;
    std::string lastCopy = "copied 0";
    std::vector<std::string> expected;
    std::vector<std::string> pasted;
};

TEST(DictationSimulation, everyDictationEndsOnceAndEveryTextArrivesInOrder)
{
    for (const auto seed : simulationSeeds(1, 400)) {
        SCOPED_TRACE(replay(seed));
        Person person(seed);
        for (int step = 0; step < 300; ++step) {
            person.act();
        }
        person.rest();
        if (testing::Test::HasFailure()) {
            return;
        }
    }
}

} // namespace
} // namespace vorlin
