#include "Dictation.h"

#include "Async/Fatal.h"
#include "SpeechWatch.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <utility>

namespace vorlin {

namespace {

constexpr int silentBuffersToNotice = 35;
constexpr auto demoLength = std::chrono::milliseconds(2500);
constexpr auto demoInterval = std::chrono::milliseconds(50);

/// The text of an exception that left `task`, or nothing.
Task<std::optional<std::string>> failureOf(Task<void> task)
{
    try {
        co_await std::move(task);
    } catch (const std::exception& error) {
        co_return error.what();
    }
    co_return std::nullopt;
}

} // namespace

Dictation::Dictation(MainLoop& loop, AudioInput& engine) : loop(loop), engine(engine) {}

Dictation::~Dictation()
{
    dropCapture();
    if (transcriber) {
        transcriber->cancel();
    }
}

Dictation::Session Dictation::nextSession()
{
    if (session == std::numeric_limits<Session>::max()) {
        fatal("the dictation sessions are used up");
    }
    demoTimer.reset();
    return ++session;
}

void Dictation::keyDown(const MakeTranscriber& makeTranscriber)
{
    wantsListening = true;
    if (phase.get() != Phase::idle) {
        return;
    }
    const Session id = nextSession();
    transcriber = makeTranscriber();
    captureFailure.reset();
    silentBuffers = 0;
    phase.set(Phase::preparing);
    micSilent.set(false);
    transcript.set({});
    notice.set(std::nullopt);
    levels.set(Levels{});
    auto show = lifetime.guard([this, id](const std::string& text) {
        if (session == id) {
            transcript.set(text);
        }
    });
    transcriber->setOnText([&mainLoop = loop, show](const std::string& text) {
        mainLoop.post([show, text] { show(text); });
    });
    spawn(loop, lifetime.token(), begin(transcriber, id));
}

Task<void> Dictation::begin(std::shared_ptr<Transcriber> preparing, Session id)
{
    const auto notPrepared = co_await failureOf(preparing->prepare());
    if (session != id) {
        co_return;
    }
    if (notPrepared || !wantsListening) {
        abort(*preparing, notPrepared);
        co_return;
    }
    const auto notStarted = co_await failureOf(startEngine(preparing, id));
    if (session != id) {
        co_return;
    }
    if (notStarted || captureFailure) {
        abort(*preparing, notStarted ? notStarted : captureFailure);
        co_return;
    }
    phase.set(Phase::listening);
    if (!wantsListening) {
        co_await end(id);
    }
}

Task<void> Dictation::startEngine(std::shared_ptr<Transcriber> feeding, Session id)
{
    tapInstalled = true; // before the start, so that a failed one is cleaned up too
    const auto showLevel = lifetime.guard([this](float newest) { push(newest); });
    const auto tellSpeech = lifetime.guard([this] { speechHeard(); });
    auto tap = [&mainLoop = loop, feeding, showLevel, tellSpeech,
                watch = std::make_shared<SpeechWatch>()](const PCMBuffer& buffer) {
        feeding->feed(buffer);
        mainLoop.post([showLevel, newest = level(buffer)] { showLevel(newest); });
        if (watch->hear(buffer)) {
            mainLoop.post(tellSpeech);
        }
    };
    co_await engine.start(std::move(tap), lifetime.guard([this, id](const std::string& message) {
        captureFailed(message, id);
    }));
}

float Dictation::level(const PCMBuffer& of)
{
    const auto samples = of.floatChannel(0);
    if (samples.empty()) {
        return 0;
    }
    double sum = 0;
    for (std::size_t i = 0; i < samples.size(); i += of.stride()) {
        sum += samples[i] * samples[i];
    }
    const float rms = std::sqrt(static_cast<float>(sum / of.frameLength()));
    if (!(rms > 1e-7F)) {
        return 0;
    }
    return std::clamp((20 * std::log10(rms) + 52) / 40, 0.03F, 1.0F);
}

void Dictation::push(float level)
{
    if (phase.get() != Phase::listening) {
        return;
    }
    Levels history = levels.get();
    const float last = history.back();
    std::rotate(history.begin(), history.begin() + 1, history.end());
    history.back() = level > last ? level : last * 0.72F + level * 0.28F;
    levels.set(history);

    silentBuffers = level == 0 ? silentBuffers + 1 : 0;
    micSilent.set(silentBuffers >= silentBuffersToNotice && !isDemo.get());
}

void Dictation::speechHeard()
{
    if (phase.get() == Phase::listening && onSpeech) {
        onSpeech();
    }
}

void Dictation::keyUp()
{
    wantsListening = false;
    if (phase.get() == Phase::listening) {
        spawn(loop, lifetime.token(), end(session));
    }
}

Task<void> Dictation::end(Session id)
{
    if (session != id || phase.get() != Phase::listening || !transcriber) {
        co_return;
    }
    phase.set(Phase::finishing);
    const auto finishing = transcriber;
    if (tapInstalled) {
        try {
            co_await engine.stop();
        } catch (const std::exception& error) {
            if (session == id) {
                captureFailure = error.what();
            }
        }
        if (session != id) {
            co_return;
        }
        tapInstalled = false;
    }
    const std::string text = co_await finishing->finish();
    if (session != id) {
        co_return;
    }
    notice.set(captureFailure ? captureFailure : finishing->failure());
    transcriber.reset();
    phase.set(Phase::idle);
    if (onFinished) {
        onFinished(text);
    }
}

void Dictation::abort(Transcriber& abandoned, std::optional<std::string> reason)
{
    abandoned.cancel();
    dropCapture();
    transcriber.reset();
    phase.set(Phase::idle);
    notice.set(std::move(reason));
    if (onFinished) {
        onFinished({});
    }
}

void Dictation::captureFailed(const std::string& message, Session id)
{
    if (session != id) {
        return;
    }
    captureFailure = message;
    // What was heard until now is still wanted.
    if (phase.get() == Phase::listening) {
        spawn(loop, lifetime.token(), end(id));
    }
}

void Dictation::dropCapture()
{
    if (std::exchange(tapInstalled, false)) {
        engine.drop();
    }
}

void Dictation::cancel()
{
    if (phase.get() == Phase::idle) {
        return;
    }
    nextSession();
    wantsListening = false;
    dropCapture();
    if (const auto abandoned = std::exchange(transcriber, nullptr)) {
        abandoned->cancel();
    }
    phase.set(Phase::idle);
    transcript.set({});
    notice.set("Cancelled");
    if (onCancelled) {
        onCancelled();
    }
}

void Dictation::tell(const std::string& line)
{
    if (phase.get() == Phase::idle) {
        notice.set(line);
    }
}

void Dictation::demo()
{
    if (phase.get() != Phase::idle && !isDemo.get()) {
        return;
    }
    demoDeadline = loop.now() + demoLength;
    if (isDemo.get() && phase.get() != Phase::idle) {
        return;
    }
    nextSession();
    isDemo.set(true);
    phase.set(Phase::listening);
    transcript.set({});
    notice.set(std::nullopt);
    demoTimer = loop.startTimer(Duration::zero(), [this] {
        demoStart = loop.now();
        stepDemo();
    });
}

void Dictation::stepDemo()
{
    if (loop.now() < demoDeadline) {
        const float t = std::chrono::duration<float>(loop.now() - demoStart).count();
        push(std::abs(std::sin(7 * t)) * 0.6F * std::abs(std::sin(2.3F * t)) + 0.2F);
        demoTimer = loop.startTimer(demoInterval, [this] { stepDemo(); });
        return;
    }
    endDemo();
    if (onDemoEnded) {
        onDemoEnded();
    }
}

void Dictation::endDemo()
{
    if (!isDemo.get()) {
        return;
    }
    nextSession();
    isDemo.set(false);
    phase.set(Phase::idle);
}

} // namespace vorlin
