#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"
#include "Ports/FocusedProgram.h"
#include "Ports/KeyPoster.h"
#include "Ports/Pasteboard.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace vorlin {

/// Puts text into whatever program has the keyboard focus: writes it to the pasteboard, posts
/// the chord that pastes there, and puts the old contents back afterwards. Main loop.
///
/// Where the platform tells who uses the pasteboard, the old contents are read ahead while the
/// person speaks, and put back once the program has read the text: 0.5 s after the paste at the
/// earliest, 3 s at the latest. Texts follow one another in order: the next one waits until the one
/// before was read, within the same 3 s. If another program copies something meanwhile, its copy
/// stays. Where it cannot be known which chord pastes in the focused program, a text that nobody
/// has read by then is left; in a program that takes texts rarely, 0.5 s after the paste. One that
/// is left within two minutes, while nobody has taken the one left before, follows that on the
/// clipboard. A text that the platform cannot say is there when it should be pasted is left. Where
/// the platform does not tell, each text is pasted at once and the contents found before it are put
/// back 0.5 s later.
class TextInserter {
public:
    /// The ports must outlive this object.
    TextInserter(MainLoop& loop, Pasteboard& pasteboard, KeyPoster& keys, FocusedProgram& focus);
    TextInserter(const TextInserter&) = delete;
    TextInserter& operator=(const TextInserter&) = delete;
    /// As `restoreNow`.
    ~TextInserter();

    /// Puts back at once what is still to be put back, read or not.
    void restoreNow();

    /// A text may come soon: reads the pasteboard's contents ahead, and again whenever they
    /// change, until `insert` or `dismiss`.
    void anticipate();
    /// No text will come.
    void dismiss();

    /// Called when a text was left on the clipboard.
    std::function<void()> onLeft;

    /// Pastes `text`. Where a window is given, only while that has the focus; else `text` is left.
    /// Returns at once.
    void insert(const std::string& text, std::optional<std::uint64_t> onlyInto = std::nullopt);

    /// Leaves `text` on the clipboard, after the texts before it: as if the person had copied it,
    /// and for good. Returns at once.
    void leave(const std::string& text);

    /// Pastes and leaves none of the texts that still wait: what has the focus now is not what they
    /// were spoken into. Returns whether there was one.
    bool abandon();

private:
    /// A text that waits, and where it belongs.
    struct Waiting {
        std::string text;
        bool toBeLeft = false;
        std::optional<std::uint64_t> onlyInto;
        /// It was shown to a program already, and taken back.
        bool isSecondTry = false;
        /// When it is left if its keys are still not ready; nothing while they always were.
        std::optional<TimePoint> keysBy;
    };
    /// Contents that stood on a pasteboard at some `changeCount`.
    struct Contents {
        std::int64_t changeCount = 0;
        PasteboardSnapshot items;
    };
    /// Contents to be put back, the text over them, when that was pasted, whether perhaps where
    /// nothing takes it and whether the program was known, and the next look at whether it was
    /// read.
    struct Restore {
        PasteboardSnapshot items;
        std::string text;
        TimePoint pasted;
        bool takenRarely = false;
        bool isKnown = true;
        Timer look;
    };

    void watchIn(Duration delay);
    void watch();
    Task<void> readAhead(PasteSource source, std::int64_t number);
    void add(Waiting text);
    Task<void> insertWaiting();
    Task<PasteChord> readyChord();
    bool belongsElsewhere(const Waiting& text) const;
    void leaveNow(const std::string& text);
    void forgetLeftIfTaken();
    Task<void> paste(Waiting next, PasteChord chord);
    void putBack(PasteSource source);
    Task<void> findFocus();
    Task<void> awaitLook(PasteSource source);
    Task<void> awaitReader(PasteSource source);
    bool areContentsKnown(PasteSource source);
    Task<void> readContents(PasteSource source);
    Task<void> awaitKeys();
    bool awaitsKeys(Waiting& text);
    void restKeys();
    PasteboardSnapshot takeContents(PasteSource source);
    Timer lookIn(Duration delay, PasteSource source);
    void look(PasteSource source);
    Task<void> restoreUntracked(PasteSource source, PasteboardSnapshot items);
    void pasteShortcut(const PasteChord& chord);

    MainLoop& loop;
    Pasteboard& pasteboard;
    KeyPoster& keys;
    FocusedProgram& focus;
    /// Texts whose chord was not posted yet, and those not yet left.
    std::deque<Waiting> waiting;
    /// Where a text stands whose chord is posted once the program has seen it.
    std::optional<PasteSource> shown;
    bool inserting = false;
    /// A text was announced, and has not come.
    bool expecting = false;
    /// Names the current watch; 0 while none runs.
    std::int64_t watching = 0;
    std::int64_t watches = 0;
    /// Until the watch looks again.
    Timer nextWatch;
    std::map<PasteSource, Contents> ahead;
    std::map<PasteSource, Restore> pending;
    /// What was left on the clipboard, and nobody has taken: it stands there, or beneath a text
    /// that is pending.
    std::string left;
    TimePoint leftAt;
    Lifetime lifetime;
};

} // namespace vorlin
