#include "App/Linux/Guard/Compositor.h"
#include "Platform/Linux/Keys/SwayLedger.h"

#include <cerrno>
#include <chrono>
#include <string>

#include <unistd.h>

namespace {

using namespace vorlin;

/// Nobody holds the key for longer after the program has gone; and if somebody types meanwhile,
/// its release is never told.
constexpr std::chrono::seconds longestHold{60};

/// Reads what the program says of its key until the program is gone. Returns whether the key may
/// be down.
bool watchProgram()
{
    bool held = false;
    char state = 0;
    while (true) {
        const auto got = ::read(STDIN_FILENO, &state, 1);
        if (got == 1) {
            held = state == 'd';
        } else if (got == 0 || errno != EINTR) {
            return held;
        }
    }
}

/// Those at a key's press, or those at its release too.
std::string unbinding(const SwayBindings& bindings, bool releases)
{
    std::string commands;
    for (const auto& [mode, each] : bindings) {
        for (const auto& binding : each) {
            if (releases || !binding.release) {
                appendUnbind(commands, mode, binding);
            }
        }
    }
    return commands;
}

/// The bindings are the program's as long as no later one has written down its own.
std::optional<SwayLedger> ledgerOf(const std::string& token, const std::string& path)
{
    auto ledger = SwayLedger::read(path);
    return ledger && ledger->token == token ? ledger : std::nullopt;
}

void takeBack(const std::string& socket, const std::string& path, const std::string& token,
              bool held)
{
    auto ledger = ledgerOf(token, path);
    if (!ledger) {
        return; // nothing is left
    }
    Compositor sway(socket);
    bool done = !sway.isThere(); // and with it all that was bound
    if (!done) {
        sway.ask(SwayRequest::subscribe, R"(["binding"])");
        done = sway.ask(SwayRequest::runCommand, unbinding(ledger->bindings, !held));
        if (held) {
            sway.awaitBinding(token + " r ", longestHold);
            ledger = ledgerOf(token, path);
            if (!ledger) {
                return;
            }
            done = sway.ask(SwayRequest::runCommand, unbinding(ledger->bindings, true));
        }
    }
    // What may not have been done a later program finds; and one may have begun meanwhile.
    ledger = done ? ledgerOf(token, path) : std::nullopt;
    if (ledger) {
        ledger->bindings.clear();
        ledger->write(path);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 4) {
        return 2; // the program starts it, nobody else
    }
    const bool held = watchProgram();
    takeBack(argv[1], argv[2], argv[3], held);
    return 0;
}
