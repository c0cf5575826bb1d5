#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"
#include "Ports/FocusedProgram.h"
#include "Ports/KeyPoster.h"
#include "Ports/Pasteboard.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>

namespace vorlin {

/// Puts text into whatever program has the keyboard focus: writes it to the pasteboard, posts
/// the chord that pastes there, and puts the old contents back afterwards. Main loop.
///
/// Where the platform tells who uses the pasteboard, the old contents are read ahead while the
/// person speaks, and put back once the program has read the text: 0.5 s after the paste at the
/// earliest, 3 s at the latest. Texts follow one another in order: the next one waits until the
/// one before was read, within the same 3 s. If another program copies something meanwhile, its
/// copy stays. Where the platform does not tell, each text is pasted at once and the contents
/// found before it are put back 0.5 s later.
class TextInserter {
public:
    /// The ports must outlive this object.
    TextInserter(MainLoop& loop, Pasteboard& pasteboard, KeyPoster& keys, FocusedProgram& focus);
    TextInserter(const TextInserter&) = delete;
    TextInserter& operator=(const TextInserter&) = delete;
    /// Puts back at once what is still to be put back.
    ~TextInserter();

    /// A text may come soon: reads the pasteboard's contents ahead, and again whenever they
    /// change, until `insert` or `dismiss`.
    void anticipate();
    /// No text will come.
    void dismiss();

    /// Pastes `text`. Returns at once.
    void insert(const std::string& text);

    /// Pastes none of the texts that still wait: what has the focus now is not what they were
    /// spoken into. Returns whether there was one.
    bool abandon();

private:
    /// Contents that stood on a pasteboard at some `changeCount`.
    struct Contents {
        std::int64_t changeCount = 0;
        PasteboardSnapshot items;
    };
    /// Contents to be put back, when the text over them was pasted, and the next look at whether
    /// it was read.
    struct Restore {
        PasteboardSnapshot items;
        TimePoint pasted;
        Timer look;
    };

    void watchIn(Duration delay);
    void watch();
    Task<void> readAhead(PasteSource source, std::int64_t number);
    Task<void> insertWaiting();
    Task<PasteChord> readyChord();
    void paste(const std::string& text, const PasteChord& chord);
    Task<void> awaitReader(PasteSource source);
    Task<void> readContents(PasteSource source);
    PasteboardSnapshot takeContents(PasteSource source);
    Timer lookIn(Duration delay, PasteSource source);
    void look(PasteSource source);
    Task<void> restoreUntracked(PasteSource source, PasteboardSnapshot items);
    void pasteShortcut(const PasteChord& chord);

    MainLoop& loop;
    Pasteboard& pasteboard;
    KeyPoster& keys;
    FocusedProgram& focus;
    /// Texts whose chord was not posted yet.
    std::deque<std::string> waiting;
    bool inserting = false;
    /// Names the current watch; 0 while none runs.
    std::int64_t watching = 0;
    std::int64_t watches = 0;
    /// Until the watch looks again.
    Timer nextWatch;
    std::map<PasteSource, Contents> ahead;
    std::map<PasteSource, Restore> pending;
    Lifetime lifetime;
};

} // namespace vorlin
