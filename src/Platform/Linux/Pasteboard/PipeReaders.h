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
/// manager, and does not read texts before they are pasted: such a one reads whatever is offered.
/// Who has done so does not count until it has let the chord of a text come first; from the next
/// text on it does. To take a manager for the paste means to take the text away before a slow
/// program has read it; to miss a paste only means to wait longer, and to leave the text on the
/// clipboard. Main loop.
class PipeReaders {
public:
    /// The process that reads for the focused window: its program, or the compositor where that
    /// stands in for an X11 program. Nothing where it is not known.
    using FocusedProcess = std::function<std::optional<pid_t>()>;

    explicit PipeReaders(FocusedProcess focused) : focused(std::move(focused)) {}

    /// A text is about to be written, for whatever has the focus now.
    void beginText();

    /// The reader of the pipe that `end` writes to has begun before the text was pasted: it reads
    /// ahead, unless it reads for others: `compositor` is the process that the compositor's socket
    /// is known by. Looks at every process the first time that one does so.
    void noteEarly(const Descriptor& end, pid_t compositor);

    /// The reader of the pipe that `end` writes to has begun after the text was pasted. Ahead of
    /// `counts`.
    void notePasted(const Descriptor& end);

    /// Whether the reader of the pipe that `end` writes to counts. Looks into /proc: a fraction of
    /// a millisecond for the focused program, some milliseconds where that is not known.
    bool counts(const Descriptor& end) const;

private:
    struct Early {
        std::uint32_t process = 0;
        /// A number is given to another process some day.
        std::uint64_t birth = 0;
        /// The latest text that it has read ahead of the chord.
        std::uint64_t readAhead = 0;
        /// The first text after that whose chord it has let come first; 0 while there is none.
        std::uint64_t yielded = 0;
    };

    static bool isReadBy(const Early& reader, const struct stat& pipe);
    Early* earlyReaderOf(const struct stat& pipe);
    bool readsAhead(const struct stat& pipe) const;

    FocusedProcess focused;
    std::optional<pid_t> remembered;
    /// How many texts have been written.
    std::uint64_t texts = 0;
    std::vector<Early> early;
};

} // namespace vorlin
