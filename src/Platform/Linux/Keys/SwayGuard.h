#pragma once

#include "Platform/Linux/Keys/SwayLedger.h"
#include "Platform/Shared/Descriptor.h"

#include <filesystem>
#include <optional>
#include <string>

#include <sys/types.h>

namespace vorlin {

/// Sees to it that our bindings go with us: sway keeps them for nobody in particular. Beside us
/// runs vorlin-guard, which takes them back when we are gone, however we ended; what even it did
/// not take back, the next start finds in the ledger. Main loop.
class SwayGuard {
public:
    struct Paths {
        /// vorlin-guard.
        std::filesystem::path program;
        /// sway's socket.
        std::string socket;
        std::filesystem::path ledger;
    };

    /// Where the ledger for a socket of sway lies: in `runtimeFolder`, under the socket's name.
    static std::filesystem::path ledgerPath(const std::filesystem::path& runtimeFolder,
                                            const std::string& socket);

    explicit SwayGuard(Paths paths);
    SwayGuard(const SwayGuard&) = delete;
    SwayGuard& operator=(const SwayGuard&) = delete;
    /// The guard looks whether there is something to take back.
    ~SwayGuard();

    /// The name for the bindings of this process: nobody guesses it, none has it twice.
    const std::string& token() const { return ledger.token; }

    /// What an earlier process left behind.
    SwayBindings leftovers() const { return earlier.bindings; }

    /// Which of its keys may still be down.
    const std::set<HardwareKey>& heldBefore() const { return earlier.held; }

    /// The name for its bindings; empty when there was none.
    const std::string& earlierToken() const { return earlier.token; }

    /// These may be there from now on, and no others of ours. Call it before they are made.
    void keep(const SwayBindings& bindings);

    /// Which keys may be down whose release is bound: sway must not lose that binding then.
    void setHeld(const std::set<HardwareKey>& keys);

private:
    void start();
    void tell();

    const Paths paths;
    SwayLedger ledger;
    SwayLedger earlier;
    Descriptor line;
    pid_t process = -1;
};

/// Where vorlin-guard lies: beside the running program, as built, or in libexec/vorlin of the place
/// it was installed to.
std::filesystem::path guardProgram();

} // namespace vorlin
