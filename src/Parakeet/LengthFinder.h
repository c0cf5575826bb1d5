#pragma once

#include "Async/Executor.h"
#include "Async/MainLoop.h"
#include "Async/Mutex.h"
#include "Async/Stop.h"
#include "Async/Task.h"
#include "Parakeet/LengthProof.h"
#include "Parakeet/ParakeetLoaded.h"
#include "Ports/Defaults.h"
#include "Ports/Folders.h"
#include "Ports/MLModel.h"
#include "Ports/Workers.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vorlin {

/// Finds the lengths at which loaded models may compute less: remembers what was proved of these
/// very files before, or proves it, in the background, once nobody has wanted the models for a
/// while. A proof gives way to whoever wants them, and goes on later.
///
/// On the executor, unless noted. Functions that take `self` keep it until their work is done.
class LengthFinder {
public:
    /// How long nobody has to want the models before a proof begins or goes on.
    static constexpr std::chrono::seconds quietTime{5};

    struct Needs {
        MLModels& models;
        std::shared_ptr<Folders> folders;
        MainLoop& loop;
        Workers& workers;
        Executor& executor;
        /// Held while the models are used.
        Mutex oneAtATime;
        /// Where proofs are kept; nowhere if null. Main loop.
        Defaults* memory = nullptr;
    };
    using Self = std::shared_ptr<LengthFinder>;

    explicit LengthFinder(Needs needs) : needs(std::move(needs)) {}

    /// These are the models from now on. Their lengths are set when they are known.
    static void find(const Self& self, const std::shared_ptr<ParakeetLoaded>& models);

    /// The models were wanted: a proof that is to come waits for quiet again.
    static void noteUse(const Self& self);

    /// Asks the proof under way to make room at once; one that is to come waits for quiet again.
    /// Any thread.
    void giveWay();

    /// No proof begins or goes on while this exists, and for the quiet time after it. Any thread.
    class Dictation {
    public:
        explicit Dictation(const Self& finder);
        Dictation(const Dictation&) = delete;
        Dictation& operator=(const Dictation&) = delete;
        ~Dictation();

    private:
        const std::weak_ptr<LengthFinder> finder;
    };

private:
    static void waitForQuiet(const Self& self);
    static void beginWhenQuiet(const Self& self, std::uint64_t quietSince);
    std::optional<StopToken> begin(std::uint64_t quietSince);
    static Task<void> lookUp(Self self, std::weak_ptr<ParakeetLoaded> models);
    static Task<void> prove(Self self, StopToken stop);
    static Task<bool> proveOnce(Self self, StopToken stop);
    Completion<std::string> identityOf(const std::filesystem::path& directory);
    Completion<std::optional<ShorterLengths>> recall(const std::string& identity);
    void remember(const std::string& identity, const ShorterLengths& lengths);
    Completion<Done> turn();

    Needs needs;
    std::weak_ptr<ParakeetLoaded> current;
    /// Of the files of the current models.
    std::string currentIdentity;
    /// What is known so far; none once it is done or nothing is to be done.
    std::shared_ptr<LengthProof> proof;
    Timer quiet;
    /// A proof is under way.
    bool proving = false;

    std::mutex lock;
    // Guarded by lock:
    StopSource running;
    /// Counts how often proofs had to give way, so that one whose time had come by then waits.
    std::uint64_t uses = 0;
    int dictations = 0;
};

/// What is remembered of several folders, as text: the lengths of one of them, nothing where the
/// text is none or names lengths that there are not.
std::optional<ShorterLengths> rememberedLengths(const std::string& text,
                                                const std::string& identity);

/// The text with the lengths of one folder more; the oldest make room.
std::string withLengths(const std::string& text, const std::string& identity,
                        const ShorterLengths& lengths);

} // namespace vorlin
