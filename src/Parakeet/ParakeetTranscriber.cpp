#include "Parakeet/ParakeetTranscriber.h"

#include "Async/Stop.h"
#include "Async/Stream.h"
#include "Parakeet/Segmenter.h"

#include <mutex>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

constexpr auto draftInterval = std::chrono::milliseconds(700);
constexpr AudioFormat targetFormat{SampleType::float32, 16000, 1, false};

std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const auto& part : parts) {
        text += (text.empty() ? "" : " ") + part;
    }
    return text;
}

} // namespace

/// What the dictation's tasks share with it; they may outlive it.
struct ParakeetTranscriber::State {
    State(std::filesystem::path directory, std::shared_ptr<ParakeetRuntime> runtime, MainLoop& loop)
        : directory(std::move(directory)), runtime(std::move(runtime)), loop(loop),
          segmenter([this](Segmenter::Samples utterance) { emit(std::move(utterance)); })
    {
    }

    void emit(Segmenter::Samples utterance)
    {
        if (cancelled.stopRequested()) {
            return;
        }
        const auto draft = [this] {
            const std::scoped_lock guard(lock);
            ++queued;
            return runningDraft;
        }();
        draft.requestStop();
        runtime->hurry();
        stream.yield(std::move(utterance));
    }

    struct Sleeper {
        Completer<Done> wakes;
        Timer timer;
    };

    /// The dictation has ended: no more drafts, and the running one gives way at once.
    void stop()
    {
        std::optional<Sleeper> sleeper;
        const auto draft = [&] {
            const std::scoped_lock guard(lock);
            stopped = true;
            sleeper = std::exchange(drafter, std::nullopt);
            return runningDraft;
        }();
        draft.requestStop();
        runtime->hurry();
        if (sleeper) {
            sleeper->wakes.complete({});
        }
    }

    /// Completes when it is time for the next draft, or the dictation has ended.
    Completion<Done> nextDraft()
    {
        Completion<Done> due;
        const auto wakes = due.completer();
        const auto wake = [wakes] { wakes.complete({}); };
        const std::scoped_lock guard(lock);
        if (stopped) {
            wake();
        } else {
            drafter = Sleeper{wakes, loop.startTimer(draftInterval, wake)};
        }
        return due;
    }

    /// An utterance's transcription is over, with or without text. Returns the running text.
    std::string settle(const std::string& text)
    {
        const std::scoped_lock guard(lock);
        --queued;
        if (!text.empty()) {
            parts.push_back(text);
        }
        return joined(parts);
    }

    /// Permission for a draft, as long as the result is not asked to stop; none while final
    /// transcriptions wait.
    std::optional<StopToken> beginDraft()
    {
        const std::scoped_lock guard(lock);
        if (queued != 0 || stopped) {
            return std::nullopt;
        }
        runningDraft = StopSource();
        return runningDraft.token();
    }

    bool isStopped() const
    {
        const std::scoped_lock guard(lock);
        return stopped;
    }

    std::string finishedText() const
    {
        const std::scoped_lock guard(lock);
        return joined(parts);
    }

    /// The tasks of a dictation. On the runtime's executor.
    static Task<void> consume(std::shared_ptr<State> state, Completer<std::string> result,
                              std::shared_ptr<const void> dictation);
    static Task<void> runDrafts(std::shared_ptr<State> state);
    Task<void> draftOnce();

    const std::filesystem::path directory;
    const std::shared_ptr<ParakeetRuntime> runtime;
    MainLoop& loop;
    Transcriber::OnText onText;
    Segmenter segmenter;
    Stream<Segmenter::Samples> stream;
    /// Ends the consumer without a result.
    StopSource cancelled;
    Completion<std::string> result;
    bool prepared = false;

    mutable std::mutex lock;
    /// The texts of the utterances, in order.
    std::vector<std::string> parts;
    /// Utterances cut and not yet transcribed.
    int queued = 0;
    bool stopped = false;
    /// The drafter between two drafts.
    std::optional<Sleeper> drafter;
    std::optional<std::string> failure;
    StopSource runningDraft;
};

/// Transcribes the utterances in order. Holds the dictation until the last one is done.
Task<void> ParakeetTranscriber::State::consume(std::shared_ptr<State> state,
                                               Completer<std::string> result,
                                               std::shared_ptr<const void> /*dictation*/)
{
    const auto cancelled = state->cancelled.token();
    while (auto utterance = co_await state->stream.next()) {
        std::string text;
        try {
            text = co_await state->runtime->transcribe(std::move(*utterance), state->directory,
                                                       WorkPriority::normal, cancelled);
        } catch (const std::exception& error) {
            const std::scoped_lock guard(state->lock);
            state->failure = error.what();
        }
        const std::string running = state->settle(text);
        if (!text.empty() && state->onText && !cancelled.stopRequested()) {
            state->onText(running);
        }
    }
    result.complete(state->finishedText());
}

/// One draft of the utterance that is being spoken, if this is the moment for one.
Task<void> ParakeetTranscriber::State::draftOnce()
{
    const auto stop = beginDraft();
    if (!stop) {
        co_return;
    }
    auto draft = segmenter.draft();
    if (!draft) {
        co_return;
    }
    std::string text;
    try {
        text = co_await runtime->transcribe(std::move(draft->samples), directory,
                                            WorkPriority::background, *stop);
    } catch (const std::exception&) {
        co_return; // the final transcription will tell what is wrong
    }
    if (isStopped() || segmenter.cuts() != draft->cuts || !onText) {
        co_return;
    }
    const std::string finished = finishedText();
    onText(finished.empty() ? text : finished + " " + text);
}

Task<void> ParakeetTranscriber::State::runDrafts(std::shared_ptr<State> state)
{
    while (!state->isStopped()) {
        co_await state->nextDraft();
        co_await state->draftOnce();
    }
}

ParakeetTranscriber::ParakeetTranscriber(std::filesystem::path directory,
                                         std::shared_ptr<ParakeetRuntime> runtime,
                                         AudioConverters& converters, MainLoop& loop)
    : state(std::make_shared<State>(std::move(directory), std::move(runtime), loop)),
      converter(converters, targetFormat)
{
}

ParakeetTranscriber::~ParakeetTranscriber()
{
    cancel();
}

void ParakeetTranscriber::setOnText(OnText onText)
{
    state->onText = std::move(onText);
}

std::optional<std::string> ParakeetTranscriber::failure() const
{
    const std::scoped_lock guard(state->lock);
    return state->failure;
}

Task<void> ParakeetTranscriber::prepare()
{
    state->prepared = true;
    state->runtime->warm(state->directory, WorkPriority::normal, state->cancelled.token());
    spawn(state->runtime->executor(),
          State::consume(state, state->result.completer(), state->runtime->dictation()));
    spawn(state->runtime->executor(), State::runDrafts(state));
    co_return;
}

void ParakeetTranscriber::feed(const PCMBuffer& buffer)
{
    if (const auto converted = converter.convert(buffer)) {
        state->segmenter.append(converted->floatChannel(0));
    }
}

Task<std::string> ParakeetTranscriber::finish()
{
    const auto held = state;
    held->stop();
    held->segmenter.flush();
    held->stream.finish();
    if (!held->prepared) {
        co_return std::string();
    }
    co_return co_await held->result;
}

int ParakeetTranscriber::queued() const
{
    const std::scoped_lock guard(state->lock);
    return state->queued;
}

void ParakeetTranscriber::cancel()
{
    state->stop();
    state->cancelled.requestStop();
    state->stream.finish();
}

} // namespace vorlin
