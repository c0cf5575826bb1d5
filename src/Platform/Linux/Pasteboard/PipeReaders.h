#pragma once

#include "Platform/Shared/Descriptor.h"

#include <functional>
#include <optional>

#include <sys/types.h>

namespace vorlin {

/// Tells a program that pastes from one that reads whatever is offered anywhere, by who is at the
/// other end of the pipe it reads from.
///
/// A reader counts when it is the focused program: the process that read for the window which had
/// the keyboard focus when the contents were written, or has it when they are read. Where that is
/// not known, or the system does not let us look, every reader counts that is no known clipboard
/// manager. To take a manager for the paste means to take the text away before a slow program has
/// read it; to miss a paste only means to wait longer. Main loop.
class PipeReaders {
public:
    /// The process that reads for the focused window: its program, or the compositor where that
    /// stands in for an X11 program. Nothing where it is not known.
    using FocusedProcess = std::function<std::optional<pid_t>()>;

    explicit PipeReaders(FocusedProcess focused) : focused(std::move(focused)) {}

    /// New contents are about to be written, for whatever has the focus now.
    void rememberFocus() { remembered = focused(); }

    /// Whether the reader of the pipe that `end` writes to counts. Looks into /proc: a fraction of
    /// a millisecond for the focused program, some milliseconds where that is not known.
    bool counts(const Descriptor& end) const;

private:
    FocusedProcess focused;
    std::optional<pid_t> remembered;
};

} // namespace vorlin
