#include "Parakeet/LengthFinder.h"

#include <utility>
#include <variant>

namespace vorlin {

namespace {

constexpr const char* memoryKey = "shorterLengths";
/// Grows with every change of what is proved.
constexpr const char* proofVersion = "3:";

std::string textOf(const std::optional<DefaultsValue>& value)
{
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text == nullptr ? std::string() : *text;
}

} // namespace

void LengthFinder::find(const Self& self, const std::shared_ptr<ParakeetLoaded>& models)
{
    if (self->current.lock() == models || !models->preprocessor->computesFewerFrames() ||
        !models->encoder->computesFewerFrames()) {
        return;
    }
    self->current = models;
    self->proof.reset();
    self->quiet.reset();
    spawn(self->needs.executor, lookUp(self, models));
}

void LengthFinder::noteUse(const Self& self)
{
    self->giveWay();
    waitForQuiet(self);
}

void LengthFinder::waitForQuiet(const Self& self)
{
    if (!self->proof) {
        return;
    }
    const auto since = [&] {
        const std::scoped_lock guard(self->lock);
        return self->uses;
    }();
    const auto begin = [weak = std::weak_ptr(self), since] {
        if (const auto alive = weak.lock()) {
            alive->needs.executor.post([weak, since] {
                if (const auto still = weak.lock()) {
                    beginWhenQuiet(still, since);
                }
            });
        }
    };
    self->quiet = self->needs.loop.startTimer(quietTime, begin);
}

void LengthFinder::beginWhenQuiet(const Self& self, std::uint64_t quietSince)
{
    if (auto stop = self->begin(quietSince)) {
        spawn(self->needs.executor, prove(self, std::move(*stop)));
    } else {
        waitForQuiet(self);
    }
}

/// What stops the proof that begins now; nothing unless it has been quiet since then.
std::optional<StopToken> LengthFinder::begin(std::uint64_t quietSince)
{
    const std::scoped_lock guard(lock);
    if (proving || uses != quietSince || dictations != 0) {
        return std::nullopt;
    }
    proving = true;
    running = StopSource();
    return running.token();
}

void LengthFinder::giveWay()
{
    const auto source = [&] {
        const std::scoped_lock guard(lock);
        ++uses;
        return running;
    }();
    source.requestStop();
}

LengthFinder::Dictation::Dictation(const Self& of) : finder(of)
{
    const std::scoped_lock guard(of->lock);
    ++of->dictations;
}

LengthFinder::Dictation::~Dictation()
{
    const auto self = finder.lock();
    if (!self) {
        return;
    }
    {
        const std::scoped_lock guard(self->lock);
        --self->dictations;
    }
    self->giveWay();
}

/// Sets the lengths of models whose files are known, or has them proved.
Task<void> LengthFinder::lookUp(Self self, std::weak_ptr<ParakeetLoaded> weak)
{
    const auto directory = [&] {
        const auto models = weak.lock();
        return models ? models->directory : std::filesystem::path();
    }();
    std::string identity = co_await self->identityOf(directory);
    if (identity.empty()) {
        co_return; // what was proved could not be kept
    }
    const auto known = co_await self->recall(identity);
    const auto models = weak.lock();
    if (!models || self->current.lock() != models) {
        co_return;
    }
    if (known) {
        models->lengths = *known;
        co_return;
    }
    self->currentIdentity = std::move(identity);
    self->proof = std::make_shared<LengthProof>();
    noteUse(self);
}

/// Goes on with the proof until it is done or has to give way.
Task<void> LengthFinder::prove(Self self, StopToken stop)
{
    // GCC 12 leaves out a loop over an awaited condition that is the first of a coroutine.
    bool more = true;
    while (more) {
        more = co_await proveOnce(self, stop);
    }
    self->proving = false;
}

/// One case of the proof. Returns whether there is more to do now.
Task<bool> LengthFinder::proveOnce(Self self, StopToken stop)
{
    const auto hold = co_await self->needs.oneAtATime.lock();
    const auto models = self->current.lock();
    const auto proof = self->proof;
    if (!models || !proof || models->isLost()) {
        co_return false;
    }
    // Named, since GCC 12 destroys an aggregate twice that is made inside an awaited call.
    const LengthProof::Turn turn = [self] { return self->turn(); };
    try {
        if (!proof->isDone()) {
            co_await proof->proveNext(*models, stop, turn);
        }
    } catch (const MLStopped&) {
        waitForQuiet(self);
        co_return false;
    } catch (const MLModelLost&) {
        // Their full length never ended them: it is theirs from now on, or every load would lead
        // to this again.
        self->remember(self->currentIdentity, {});
        self->proof.reset();
        co_return false;
    } catch (const std::exception&) {
        self->proof.reset(); // it may be otherwise after the next load
        co_return false;
    }
    if (proof->isDone() && self->proof == proof) {
        models->lengths = proof->result();
        self->remember(self->currentIdentity, models->lengths);
        self->proof.reset();
    }
    co_return self->proof == proof;
}

/// What tells the files of a folder, and what computes them, from others; empty where that is not
/// known of the files.
Completion<std::string> LengthFinder::identityOf(const std::filesystem::path& directory)
{
    Completion<std::string> known;
    const auto identity = std::make_shared<std::string>();
    needs.workers.runPatiently(
        WorkPriority::background,
        [folders = needs.folders, directory, identity] {
            *identity = folders->identity(directory);
        },
        needs.executor,
        [completer = known.completer(), identity, engine = needs.models.engineIdentity()] {
            completer.complete(identity->empty() ? std::string()
                                                 : proofVersion + engine + ':' + *identity);
        });
    return known;
}

Completion<std::optional<ShorterLengths>> LengthFinder::recall(const std::string& identity)
{
    Completion<std::optional<ShorterLengths>> known;
    const auto completer = known.completer();
    if (needs.memory == nullptr) {
        completer.complete(std::nullopt);
        return known;
    }
    needs.loop.post([memory = needs.memory, identity, completer] {
        completer.complete(rememberedLengths(textOf(memory->value(memoryKey)), identity));
    });
    return known;
}

void LengthFinder::remember(const std::string& identity, const ShorterLengths& lengths)
{
    if (needs.memory == nullptr) {
        return;
    }
    needs.loop.post([memory = needs.memory, identity, lengths] {
        const auto text = textOf(memory->value(memoryKey));
        memory->set(memoryKey, withLengths(text, identity, lengths));
    });
}

/// Lets what waits for the executor go first.
Completion<Done> LengthFinder::turn()
{
    Completion<Done> come;
    needs.executor.post([completer = come.completer()] { completer.complete({}); });
    return come;
}

} // namespace vorlin
