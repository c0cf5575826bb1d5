#include "Platform/macOS/Speech/MacSpeechAnalyzers.h"

#include "Platform/macOS/Plain/ErrorLine.h"
#include "Platform/macOS/Plain/SampleFormats.h"
#include "Platform/macOS/Speech/VorlinSpeechAnalyzer.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace vorlin {

namespace {

/// An answer that is awaited; it comes once, and frees this.
template <class... Arguments>
struct Awaited {
    std::shared_ptr<MainLoopDoor> way;
    /// Called on the main loop.
    std::function<void(Arguments...)> told;

    /// The context of a call that will answer.
    static void* of(std::shared_ptr<MainLoopDoor> way, std::function<void(Arguments...)> told)
    {
        return new Awaited{std::move(way), std::move(told)};
    }

    static void tell(void* context, Arguments... arguments)
    {
        const std::unique_ptr<Awaited> awaited(static_cast<Awaited*>(context));
        awaited->way->post([told = awaited->told, arguments...] { told(arguments...); });
    }
};

using Texts = Awaited<std::optional<std::string>, std::optional<std::string>>;
using Format = Awaited<std::optional<AudioFormat>>;

std::optional<std::string> copyOf(const char* text)
{
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

void answered(void* context, const char* text, const char* failure)
{
    Texts::tell(context, copyOf(text), copyOf(failure));
}

void answeredFormat(void* context, double sampleRate, std::uint32_t channels,
                    std::uint32_t commonFormat, bool interleaved)
{
    const auto type = sampleType(commonFormat);
    Format::tell(context, type && sampleRate > 0
                              ? std::optional(AudioFormat{*type, sampleRate, channels, interleaved})
                              : std::nullopt);
}

/// The context of a call that answers nothing but its end.
void* awaitEnd(std::shared_ptr<MainLoopDoor> way, Completer<Done> completer)
{
    return Texts::of(std::move(way),
                     [completer = std::move(completer)](const auto& /*text*/, const auto& failure) {
                         failure ? completer.failWith(errorLine(*failure)) : completer.complete({});
                     });
}

/// Lets results through until it is closed.
class ResultGate {
public:
    explicit ResultGate(SpeechAnalyzers::OnResult onResult) : onResult(std::move(onResult)) {}

    void deliver(const std::string& text, bool isFinal)
    {
        const std::scoped_lock guard(lock);
        if (onResult) {
            onResult(text, isFinal);
        }
    }

    /// No result is told any more once this returns.
    void close()
    {
        const std::scoped_lock guard(lock);
        onResult = nullptr;
    }

private:
    /// Held while a result is told: `close` must wait for it.
    std::mutex lock;
    SpeechAnalyzers::OnResult onResult;
};

using SharedGate = std::shared_ptr<ResultGate>;

void heard(void* context, const char* text, bool isFinal)
{
    (*static_cast<SharedGate*>(context))->deliver(text, isFinal);
}

void heardAll(void* context)
{
    delete static_cast<SharedGate*>(context);
}

class MacSpeechAnalyzer final : public SpeechAnalyzer {
public:
    MacSpeechAnalyzer(void* analysis, SharedGate gate, MainLoop& loop)
        : analysis(analysis), gate(std::move(gate)), door(loop)
    {
    }
    MacSpeechAnalyzer(const MacSpeechAnalyzer&) = delete;
    MacSpeechAnalyzer& operator=(const MacSpeechAnalyzer&) = delete;
    ~MacSpeechAnalyzer() override
    {
        cancelAndFinishNow();
        vorlinSpeechRelease(analysis);
    }

    Completion<Done> started() override;
    void input(std::shared_ptr<const PCMBuffer> buffer) override;
    Completion<Done> finalizeAndFinishThroughEndOfInput() override;
    void cancelAndFinishNow() override;

private:
    void* const analysis;
    const SharedGate gate;
    /// Asked by a capture thread.
    std::atomic<bool> takesInput = true;
    /// Everything was told, or nothing more is to be. Not after a failure: the platform's analyser
    /// then still waits, for the end or for results.
    bool isOver = false;
    OwnedDoor door;
};

Completion<Done> MacSpeechAnalyzer::started()
{
    Completion<Done> begun;
    vorlinSpeechStarted(analysis, awaitEnd(door.shared(), begun.completer()), answered);
    return begun;
}

void MacSpeechAnalyzer::input(std::shared_ptr<const PCMBuffer> buffer)
{
    if (!takesInput) {
        return;
    }
    const AudioFormat& format = buffer->format();
    std::vector<const void*> planes;
    for (std::uint32_t plane = 0; plane < planesOf(format); ++plane) {
        planes.push_back(buffer->plane(plane).data());
    }
    vorlinSpeechInput(analysis, planes.data(), buffer->frameLength(), format.sampleRate,
                      format.channels, commonFormat(format.sampleType), format.interleaved);
}

Completion<Done> MacSpeechAnalyzer::finalizeAndFinishThroughEndOfInput()
{
    Completion<Done> ended;
    if (!takesInput.exchange(false)) {
        ended.completer().complete({});
        return ended;
    }
    auto* const context =
        Texts::of(door.shared(),
                  [this, completer = ended.completer()](const auto& /*text*/, const auto& failure) {
                      isOver = !failure;
                      gate->close();
                      failure ? completer.failWith(errorLine(*failure)) : completer.complete({});
                  });
    vorlinSpeechFinish(analysis, context, answered);
    return ended;
}

void MacSpeechAnalyzer::cancelAndFinishNow()
{
    gate->close();
    takesInput = false;
    if (!std::exchange(isOver, true)) {
        vorlinSpeechCancel(analysis);
    }
}

} // namespace

Completion<std::optional<std::string>>
MacSpeechAnalyzers::supportedLocale(const std::string& equivalentTo)
{
    Completion<std::optional<std::string>> answer;
    auto* const context = Texts::of(
        door.shared(), [completer = answer.completer()](const auto& text, const auto& /*failure*/) {
            completer.complete(text);
        });
    vorlinSpeechSupportedLocale(equivalentTo.c_str(), context, answered);
    return answer;
}

Completion<std::optional<std::vector<std::string>>> MacSpeechAnalyzers::localesToOffer()
{
    Completion<std::optional<std::vector<std::string>>> answer;
    answer.completer().complete(std::nullopt);
    return answer;
}

Completion<Done> MacSpeechAnalyzers::installAssets(const std::string& locale)
{
    Completion<Done> answer;
    vorlinSpeechInstallAssets(locale.c_str(), awaitEnd(door.shared(), answer.completer()),
                              answered);
    return answer;
}

Completion<std::optional<AudioFormat>>
MacSpeechAnalyzers::bestAudioFormat(const std::string& locale)
{
    Completion<std::optional<AudioFormat>> answer;
    auto* const context =
        Format::of(door.shared(), [completer = answer.completer()](const auto& format) {
            completer.complete(format);
        });
    vorlinSpeechBestFormat(locale.c_str(), context, answeredFormat);
    return answer;
}

std::unique_ptr<SpeechAnalyzer> MacSpeechAnalyzers::start(const std::string& locale,
                                                          OnResult onResult)
{
    const auto gate = std::make_shared<ResultGate>(std::move(onResult));
    auto context = std::make_unique<SharedGate>(gate);
    void* const analysis = vorlinSpeechStart(locale.c_str(), context.get(), heard, heardAll);
    if (analysis == nullptr) {
        throw std::runtime_error("Speech recognition is unavailable for this language.");
    }
    [[maybe_unused]] const auto* freedAtTheEnd = context.release();
    return std::make_unique<MacSpeechAnalyzer>(analysis, gate, loop);
}

} // namespace vorlin
