#pragma once

#include "Platform/Shared/Descriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

namespace vorlin {

/// Tells a program that pastes from one that reads whatever is offered anywhere, by who is at the
/// other end of the pipe it reads from.
///
/// A reader counts when it is the focused program: the process that read for the window which had
/// the keyboard focus when the contents were written, or has it when they are read. Where that is
/// not known, or the system does not let us look, every reader counts that is no known clipboard
/// manager, and has read no text before it was pasted: such a one reads whatever is offered. To
/// take a manager for the paste means to take the text away before a slow program has
/// read it; to miss a paste only means to wait longer. Main loop.
class PipeReaders {
public:
    /// The process that reads for the focused window: its program, or the compositor where that
    /// stands in for an X11 program. Nothing where it is not known.
    using FocusedProcess = std::function<std::optional<pid_t>()>;

    explicit PipeReaders(FocusedProcess focused) : focused(std::move(focused)) {}

    /// New contents are about to be written, for whatever has the focus now.
    void rememberFocus() { remembered = focused(); }

    /// The reader of the pipe that `end` writes to has begun before the text was pasted. From then
    /// on it does not count where the focus is not known, unless it reads for others: `compositor`
    /// is the process that the compositor's socket is known by. Looks at every process the first
    /// time that one does so.
    void noteEarly(const Descriptor& end, pid_t compositor);

    /// Whether the reader of the pipe that `end` writes to counts. Looks into /proc: a fraction of
    /// a millisecond for the focused program, some milliseconds where that is not known.
    bool counts(const Descriptor& end) const;

private:
    struct Early {
        std::uint32_t process = 0;
        /// A number is given to another process some day.
        std::uint64_t birth = 0;
    };

    bool isEarly(const struct stat& pipe) const;

    FocusedProcess focused;
    std::optional<pid_t> remembered;
    std::vector<Early> early;
};

} // namespace vorlin
