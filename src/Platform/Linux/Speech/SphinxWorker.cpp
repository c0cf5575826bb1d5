#include "Platform/Linux/Speech/SphinxWorker.h"

#include "Async/Fatal.h"
#include "Platform/Linux/Speech/SphinxDecoder.h"
#include "Platform/Linux/Speech/SphinxLoad.h"
#include "Platform/Linux/Speech/SphinxStream.h"

#include <malloc.h>

#include <algorithm>
#include <span>
#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

/// Samples of one step, after which other work has its turn: 100 ms.
constexpr std::size_t stepSamples = SphinxDecoder::sampleRate / 10;
/// Samples between two looks at whether the stream was cancelled or a pause has come: 20 ms.
constexpr std::size_t pieceSamples = SphinxDecoder::sampleRate / 50;
/// Samples after which an utterance is cut at the next gap between words, so that ending it never
/// takes long: 15 s.
constexpr std::size_t longUtteranceSamples = std::size_t{15} * SphinxDecoder::sampleRate;

} // namespace

SphinxWorker::SphinxWorker(Workers& workers, MainLoop& loop, Duration unloadDelay)
    : workers(workers), executor(workers.executor(WorkPriority::normal)), loop(loop),
      unloadDelay(unloadDelay)
{
}

SphinxWorker::~SphinxWorker() = default;

AudioFormat SphinxWorker::format()
{
    return {SampleType::int16, SphinxDecoder::sampleRate, 1, false};
}

SphinxWorker::StreamHandle SphinxWorker::open(SpeechModel model, SpeechAnalyzers::OnResult onResult)
{
    auto stream = std::make_shared<SphinxStream>(std::move(model), std::move(onResult));
    const std::scoped_lock guard(lock);
    ++uses;
    unloadWanted = false;
    unloading.reset();
    streams.push_back(stream);
    wake();
    return stream;
}

void SphinxWorker::add(const StreamHandle& stream, std::shared_ptr<const PCMBuffer> buffer)
{
    if (buffer->format() != format()) {
        fatal("the recogniser was given audio of a format it did not ask for");
    }
    if (buffer->frameLength() == 0) {
        return;
    }
    const std::scoped_lock guard(lock);
    if (stream->finishing || stream->retired || stream->cancelled) {
        return;
    }
    stream->waiting.push_back(std::move(buffer));
    wake();
}

void SphinxWorker::finish(const StreamHandle& stream, Completer<Done> finished)
{
    std::exception_ptr failure;
    {
        const std::scoped_lock guard(lock);
        if (stream->cancelled || stream->finishing) {
            return;
        }
        stream->finishing = true;
        if (!stream->retired) {
            stream->finished = std::move(finished);
            wake();
            return;
        }
        failure = stream->failure;
    }
    finished.fail(failure);
}

void SphinxWorker::cancel(const StreamHandle& stream)
{
    std::optional<Completer<Done>> unanswered;
    {
        const std::scoped_lock guard(lock);
        stream->cancelled = true;
        stream->waiting.clear();
        unanswered = std::exchange(stream->finished, std::nullopt);
        wake();
    }
    const std::scoped_lock noDelivery(stream->delivery);
}

void SphinxWorker::cancelAll()
{
    std::deque<StreamHandle> open;
    {
        const std::scoped_lock guard(lock);
        open = streams;
    }
    std::ranges::for_each(open, [this](const StreamHandle& stream) { cancel(stream); });
}

void SphinxWorker::wake()
{
    if (!stepQueued && hasWork()) {
        stepQueued = true;
        executor.post([self = shared_from_this()] { self->step(); });
    }
}

bool SphinxWorker::hasWork() const
{
    if (loading && loading->arrived) {
        return true;
    }
    if (streams.empty()) {
        return unloadWanted;
    }
    const SphinxStream& first = *streams.front();
    if (!first.begun && isLoading(first.model)) {
        return first.cancelled;
    }
    return !first.begun || first.cancelled || first.finishing || !first.waiting.empty();
}

bool SphinxWorker::isLoading(const SpeechModel& model) const
{
    return loading && loading->model == model;
}

void SphinxWorker::step()
{
    std::shared_ptr<SphinxLoad> arrived;
    StreamHandle stream;
    bool unload = false;
    {
        const std::scoped_lock guard(lock);
        if (loading && loading->arrived) {
            arrived = std::exchange(loading, nullptr);
        } else if (!streams.empty()) {
            stream = streams.front();
        } else {
            unload = std::exchange(unloadWanted, false);
        }
    }
    if (arrived) {
        settle(*arrived);
    } else if (stream) {
        runStream(stream);
    } else if (unload) {
        dropDecoder();
    }
    const std::scoped_lock guard(lock);
    stepQueued = false;
    wake();
}

void SphinxWorker::runStream(const StreamHandle& stream)
{
    try {
        if (advance(*stream)) {
            return;
        }
        retire(stream, nullptr);
    } catch (const std::runtime_error&) {
        dropDecoder(); // its state is unknown
        retire(stream, std::current_exception());
    }
    if (!decoder || !stream->begun) {
        return;
    }
    try {
        decoder->abandonStream();
    } catch (const std::runtime_error&) {
        dropDecoder();
    }
}

/// Does a little of what is to do for the stream; false when it has come to its end.
bool SphinxWorker::advance(SphinxStream& stream)
{
    if (stream.cancelled) {
        return false;
    }
    if (!stream.begun) {
        begin(stream);
        return true;
    }
    const Samples samples = [&] {
        const std::scoped_lock guard(lock);
        return stream.take(stepSamples);
    }();
    if (!samples.empty()) {
        decode(stream, samples);
        return true;
    }
    bool ended = false;
    {
        const std::scoped_lock guard(lock);
        ended = stream.finishing && stream.waiting.empty();
    }
    if (ended && !stream.cancelled) {
        endUtterance(stream);
    }
    return !ended;
}

void SphinxWorker::begin(SphinxStream& stream)
{
    if (!decoder || decoderModel != stream.model) {
        load(stream.model);
        return;
    }
    decoder->beginStream();
    const std::scoped_lock guard(lock);
    stream.begun = true;
}

void SphinxWorker::load(const SpeechModel& model)
{
    dropDecoder(); // first, so that two models are not in memory at once
    const auto wanted = std::make_shared<SphinxLoad>(model);
    {
        const std::scoped_lock guard(lock);
        loading = wanted;
    }
    SphinxLoad::run(wanted, workers, executor, [weak = weak_from_this(), wanted] {
        if (const auto self = weak.lock()) {
            const std::scoped_lock guard(self->lock);
            wanted->arrived = true;
            self->wake();
        }
    });
}

/// Takes the decoder that was loaded, or ends the stream that waits for it.
void SphinxWorker::settle(SphinxLoad& load)
{
    StreamHandle waiting;
    {
        const std::scoped_lock guard(lock);
        if (!streams.empty() && streams.front()->model == load.model) {
            waiting = streams.front();
        }
    }
    if (load.failure) {
        if (waiting) {
            retire(waiting, load.failure);
        }
        return;
    }
    decoder = std::move(load.decoder);
    decoderHeld = true;
    if (decoderModel == load.model) {
        decoder->adopt(learnt);
    }
    decoderModel = load.model;
    if (!waiting) {
        scheduleUnload();
    }
}

void SphinxWorker::decode(SphinxStream& stream, const Samples& samples)
{
    std::span<const std::int16_t> left(samples);
    while (!left.empty() && !stream.cancelled) {
        const auto piece = left.first(std::min(left.size(), pieceSamples));
        left = left.subspan(piece.size());
        decoder->decode(piece);
        const bool paused = stream.heardSpeech && !decoder->inSpeech();
        stream.heardSpeech = decoder->inSpeech();
        if (paused) {
            endUtterance(stream);
        }
    }
    if (stream.cancelled) {
        return;
    }
    stream.samplesOfUtterance += stream.heardSpeech ? samples.size() : 0;
    if (stream.samplesOfUtterance > longUtteranceSamples && decoder->betweenWords()) {
        endUtterance(stream);
        return;
    }
    stream.results.heard(decoder->hypothesis());
}

void SphinxWorker::endUtterance(SphinxStream& stream)
{
    stream.samplesOfUtterance = 0;
    stream.results.ended(decoder->endUtterance());
}

void SphinxWorker::retire(const StreamHandle& stream, std::exception_ptr failure)
{
    std::optional<Completer<Done>> finished;
    bool last = false;
    {
        const std::scoped_lock guard(lock);
        streams.pop_front();
        stream->retired = true;
        stream->failure = failure;
        stream->waiting.clear();
        finished = std::exchange(stream->finished, std::nullopt);
        ++uses;
        last = streams.empty();
    }
    if (last && decoderHeld) {
        scheduleUnload();
    }
    if (finished && failure) {
        finished->fail(failure);
    } else if (finished) {
        finished->complete({});
    }
}

void SphinxWorker::dropDecoder()
{
    if (decoder) {
        learnt = decoder->learnt();
        decoder.reset();
        decoderHeld = false;
        malloc_trim(0); // a process that idles for hours gives the model's memory back
    }
}

void SphinxWorker::scheduleUnload()
{
    const std::scoped_lock guard(lock);
    unloading = loop.startTimer(unloadDelay, [weak = weak_from_this(), usesNow = uses] {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        const std::scoped_lock locked(self->lock);
        if (self->uses == usesNow && self->streams.empty()) {
            self->unloadWanted = true;
            self->wake();
        }
    });
}

} // namespace vorlin
