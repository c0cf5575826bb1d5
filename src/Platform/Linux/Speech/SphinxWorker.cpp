#include "Platform/Linux/Speech/SphinxWorker.h"

#include "Async/Fatal.h"
#include "Platform/Linux/Speech/SphinxDecoder.h"
#include "Platform/Linux/Speech/UtteranceResults.h"

#include <malloc.h>

#include <algorithm>
#include <cstring>
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

struct SphinxWorker::Stream {
    Stream(SpeechModel model, SpeechAnalyzers::OnResult onResult)
        : model(std::move(model)), onResult(std::move(onResult))
    {
    }

    void deliver(const std::string& text, bool isFinal)
    {
        const std::scoped_lock guard(delivery);
        if (!cancelled) {
            onResult(text, isFinal);
        }
    }

    const SpeechModel model;
    const SpeechAnalyzers::OnResult onResult;
    std::atomic<bool> cancelled = false;

    /// Held while a result is delivered, so that `cancel` can promise that none comes later.
    /// Recursive, because a callback may let go of the last owner of this very analysis.
    std::recursive_mutex delivery;

    // Guarded by the worker's lock.
    std::deque<std::shared_ptr<const PCMBuffer>> waiting;
    std::size_t takenOfFirst = 0;
    bool finishing = false;
    bool retired = false;
    std::exception_ptr failure;
    std::optional<Completer<Done>> finished;

    // Touched by steps only.
    bool begun = false;
    bool heardSpeech = false;
    std::size_t samplesOfUtterance = 0;
    UtteranceResults results{
        [this](const std::string& text, bool isFinal) { deliver(text, isFinal); }};
};

struct SphinxWorker::Load {
    explicit Load(SpeechModel model) : model(std::move(model)) {}

    const SpeechModel model;
    /// One of these two, once it has arrived.
    std::unique_ptr<SphinxDecoder> decoder;
    std::exception_ptr failure;
    bool arrived = false; // guarded by the worker's lock
};

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
    auto stream = std::make_shared<Stream>(std::move(model), std::move(onResult));
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
    const Stream& first = *streams.front();
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
    std::shared_ptr<Load> arrived;
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
bool SphinxWorker::advance(Stream& stream)
{
    if (stream.cancelled) {
        return false;
    }
    if (!stream.begun) {
        begin(stream);
        return true;
    }
    const Samples samples = take(stream);
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

void SphinxWorker::begin(Stream& stream)
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
    const auto wanted = std::make_shared<Load>(model);
    {
        const std::scoped_lock guard(lock);
        loading = wanted;
    }
    workers.runPatiently(
        WorkPriority::normal,
        [wanted] {
            try {
                wanted->decoder = std::make_unique<SphinxDecoder>(wanted->model);
            } catch (const std::exception&) {
                wanted->failure = std::current_exception();
            }
        },
        executor,
        [weak = weak_from_this(), wanted] {
            if (const auto self = weak.lock()) {
                const std::scoped_lock guard(self->lock);
                wanted->arrived = true;
                self->wake();
            }
        });
}

/// Takes the decoder that was loaded, or ends the stream that waits for it.
void SphinxWorker::settle(Load& load)
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

/// The next samples of the stream, at most those of one step.
SphinxWorker::Samples SphinxWorker::take(Stream& stream)
{
    Samples samples;
    const std::scoped_lock guard(lock);
    while (samples.size() < stepSamples && !stream.waiting.empty()) {
        const PCMBuffer& buffer = *stream.waiting.front();
        const std::size_t left = buffer.frameLength() - stream.takenOfFirst;
        const std::size_t count = std::min(left, stepSamples - samples.size());
        const auto bytes = buffer.plane(0).subspan(stream.takenOfFirst * sizeof(std::int16_t),
                                                   count * sizeof(std::int16_t));
        const std::size_t before = samples.size();
        samples.resize(before + count);
        std::memcpy(samples.data() + before, bytes.data(), bytes.size());
        stream.takenOfFirst += count;
        if (count == left) {
            stream.waiting.pop_front();
            stream.takenOfFirst = 0;
        }
    }
    return samples;
}

void SphinxWorker::decode(Stream& stream, const Samples& samples)
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

void SphinxWorker::endUtterance(Stream& stream)
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
