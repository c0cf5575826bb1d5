#pragma once

#include "Async/Completion.h"
#include "Async/MainLoop.h"
#include "Audio/PCMBuffer.h"
#include "Platform/Linux/Speech/SpeechModels.h"
#include "Ports/SpeechAnalyzer.h"
#include "Ports/Workers.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

class SphinxDecoder;
struct SphinxLoad;
struct SphinxStream;

/// Decodes the streams of all analyses with one decoder, one stream after the other in the order
/// they were opened, a short piece at a time on the workers' threads. Loads the decoder when a
/// stream needs it, where nobody else waits for a disk that does not answer, and drops it
/// `unloadDelay` after the last stream has ended.
///
/// Audio that waits is kept, however much it is: 32 kB a second, so that an hour of backlog is
/// 115 MB, and a backlog exists only while the model loads or the machine decodes slower than
/// the person speaks.
///
/// Any thread, unless said otherwise. Create it with `std::make_shared`.
class SphinxWorker : public std::enable_shared_from_this<SphinxWorker> {
public:
    using StreamHandle = std::shared_ptr<SphinxStream>;

    /// `workers` load and decode; `loop` is the clock of `unloadDelay`. Both outlive the work
    /// given to the workers' executor.
    SphinxWorker(Workers& workers, MainLoop& loop, Duration unloadDelay);
    SphinxWorker(const SphinxWorker&) = delete;
    SphinxWorker& operator=(const SphinxWorker&) = delete;
    ~SphinxWorker();

    /// The form of every buffer: 16 kHz, one channel, 16 bits, not interleaved.
    static AudioFormat format();

    /// Opens a stream and begins to load its model.
    StreamHandle open(SpeechModel model, SpeechAnalyzers::OnResult onResult);

    /// Queues audio; ignored once the stream is finished or cancelled. A buffer of another
    /// format is a fatal fault.
    void add(const StreamHandle& stream, std::shared_ptr<const PCMBuffer> buffer);

    /// Ends the stream's input. `finished` completes after its last result, fails with the error
    /// that ended it, or is dropped unanswered when it was cancelled.
    void finish(const StreamHandle& stream, Completer<Done> finished);

    /// Ends the stream. On return none of its results is being delivered, nor will be; at most
    /// a fifth of a second of audio is still decoded.
    void cancel(const StreamHandle& stream);

    /// Cancels every stream.
    void cancelAll();

    /// Whether a decoder is in memory.
    bool holdsDecoder() const { return decoderHeld; }

private:
    using Samples = std::vector<std::int16_t>;

    // With `lock` held.
    void wake();
    bool hasWork() const;
    bool isLoading(const SpeechModel& model) const;

    // On the executor, never two at once.
    void step();
    void runStream(const StreamHandle& stream);
    bool advance(SphinxStream& stream);
    void begin(SphinxStream& stream);
    void load(const SpeechModel& model);
    void settle(SphinxLoad& load);
    void decode(SphinxStream& stream, const Samples& samples);
    void endUtterance(SphinxStream& stream);
    void retire(const StreamHandle& stream, std::exception_ptr failure);
    void dropDecoder();

    void scheduleUnload();

    Workers& workers;
    Executor& executor;
    MainLoop& loop;
    const Duration unloadDelay;

    mutable std::mutex lock;
    std::deque<StreamHandle> streams;
    /// Of the model that was asked for last, until a step has settled it. One that hangs stays, so
    /// that whoever comes next waits with it instead of sending another thread after it.
    std::shared_ptr<SphinxLoad> loading;
    bool stepQueued = false;
    bool unloadWanted = false;
    /// Until the decoder goes.
    Timer unloading;
    /// Counts the streams opened and ended: tells whether the decoder was used meanwhile.
    std::uint64_t uses = 0;

    // Touched by steps only.
    std::unique_ptr<SphinxDecoder> decoder;
    SpeechModel decoderModel;
    /// What the last decoder of `decoderModel` had learnt.
    std::vector<float> learnt;

    std::atomic<bool> decoderHeld = false;
};

} // namespace vorlin
