#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Async/Task.h"
#include "Audio/PCMBuffer.h"
#include "Ports/AudioInput.h"
#include "Transcriber.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vorlin {

/// One dictation from key press to finished text: microphone capture, the speech engine, the
/// level history and the four phases. Main loop, except `level(of)`.
class Dictation {
public:
    enum class Phase { idle, preparing, listening, finishing };
    /// Microphone levels, oldest first, each 0 to 1.
    using Levels = std::array<float, 28>;
    using MakeTranscriber = std::function<std::shared_ptr<Transcriber>()>;

    /// `loop` and `engine` must outlive this object.
    Dictation(MainLoop& loop, AudioInput& engine);
    Dictation(const Dictation&) = delete;
    Dictation& operator=(const Dictation&) = delete;
    /// Abandons a running dictation without calling back.
    ~Dictation();

    Published<Phase, Dictation> phase{Phase::idle};
    /// Live text of the current dictation.
    Published<std::string, Dictation> transcript;
    Published<Levels, Dictation> levels{Levels{}};
    /// One line for the person: an error, "Cancelled", what an engine has to say.
    Published<std::optional<std::string>, Dictation> notice;
    /// The microphone has delivered only digital silence for a while.
    Published<bool, Dictation> micSilent{false};
    /// The overlay preview is running instead of a dictation.
    Published<bool, Dictation> isDemo{false};

    /// Called when a preview ends by itself.
    std::function<void()> onDemoEnded;
    /// Called with the finished text; empty when nothing is to be inserted.
    std::function<void(const std::string&)> onFinished;
    /// Called when the person cancels.
    std::function<void()> onCancelled;
    /// Called again and again while somebody speaks, as far as the sound tells (`SpeechWatch`).
    std::function<void()> onSpeech;

    /// The person wants to speak: starts a dictation if idle, else only renews the wish.
    void keyDown(const MakeTranscriber& makeTranscriber);
    /// The person has spoken: ends the dictation as soon as it listens.
    void keyUp();
    /// Abandons the dictation; nothing is inserted.
    void cancel();

    /// Shows a line for the person. Ignored during a dictation.
    void tell(const std::string& line);

    /// Shows made-up levels until 2.5 s after the latest call. Ignored during a dictation.
    void demo();
    void endDemo();

    /// The level of one buffer's first channel, 0 to 1: −52 dBFS and below give 0.03, −12 dBFS
    /// and above 1; digital silence, and a buffer that is not float32, give 0. Any thread.
    static float level(const PCMBuffer& of);

private:
    using Session = std::int64_t;

    Session nextSession();
    Task<void> begin(std::shared_ptr<Transcriber> preparing, Session id);
    Task<void> startEngine(std::shared_ptr<Transcriber> feeding, Session id);
    Task<void> end(Session id);
    void abort(Transcriber& abandoned, std::optional<std::string> reason);
    void captureFailed(const std::string& message, Session id);
    void dropCapture();
    void stepDemo();
    void push(float level);
    void speechHeard();

    MainLoop& loop;
    AudioInput& engine;
    std::shared_ptr<Transcriber> transcriber;
    /// A capture was started and not stopped since.
    bool tapInstalled = false;
    /// The dictation key is logically held.
    bool wantsListening = false;
    TimePoint demoStart;
    TimePoint demoDeadline;
    /// Until the preview's next level; ends with the session.
    Timer demoTimer;
    /// Buffers of digital silence in a row.
    int silentBuffers = 0;
    /// What broke the current capture.
    std::optional<std::string> captureFailure;
    /// Names the current dictation or preview: whatever comes back under another number is stale.
    Session session = 0;
    Lifetime lifetime;
};

} // namespace vorlin
