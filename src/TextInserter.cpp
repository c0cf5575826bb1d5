#include "TextInserter.h"

#include "Async/Completion.h"
#include "Async/Sleep.h"

#include <string_view>
#include <utility>

namespace vorlin {

namespace {

constexpr auto restoreAfter = std::chrono::milliseconds(500);
constexpr auto restoreAtLatest = std::chrono::milliseconds(3000);
/// How long a text waits for keys, from when they first were not ready: it was spoken into what has
/// the focus now.
constexpr auto keysAtLatest = std::chrono::milliseconds(2000);
/// How long a text waits for a program to see that there is one.
constexpr auto seenAtLatest = std::chrono::milliseconds(500);
constexpr auto seenEvery = std::chrono::milliseconds(2);
constexpr auto lookEvery = std::chrono::milliseconds(20);
/// A text that was left and not taken is not forgotten by who speaks the next one within so long.
constexpr auto joinWithin = std::chrono::minutes(2);
/// How often contents that change all the time are read before a text goes over them.
constexpr int mostRounds = 3;
constexpr auto watchEvery = std::chrono::milliseconds(100);

/// How many bytes at `at` of a UTF-8 text are a control character or a line break; none if it is
/// neither.
std::size_t controlBytes(std::string_view text, std::size_t at)
{
    const auto byte = [&](std::size_t offset) {
        return at + offset < text.size() ? static_cast<unsigned char>(text[at + offset]) : 0U;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7f) {
        return 1;
    }
    if (byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) < 0xa0) {
        return 2; // U+0080 to U+009F
    }
    const bool separator = byte(0) == 0xe2 && byte(1) == 0x80 && (byte(2) | 1U) == 0xa9;
    return separator ? 3 : 0; // U+2028 and U+2029
}

/// `text` for a terminal: line breaks and control characters in a row become one space, where there
/// is none beside them, and nothing at the end.
std::string inOneLine(std::string_view text)
{
    std::string line;
    bool broken = false;
    for (std::size_t at = 0; at < text.size();) {
        if (const std::size_t bytes = controlBytes(text, at); bytes != 0) {
            broken = true;
            at += bytes;
            continue;
        }
        if (std::exchange(broken, false) && text[at] != ' ' && !line.ends_with(' ')) {
            line += ' ';
        }
        line += text[at++];
    }
    return line;
}

} // namespace

TextInserter::TextInserter(MainLoop& loop, Pasteboard& pasteboard, KeyPoster& keys,
                           FocusedProgram& focus)
    : loop(loop), pasteboard(pasteboard), keys(keys), focus(focus)
{
}

TextInserter::~TextInserter()
{
    restoreNow();
}

void TextInserter::restoreNow()
{
    while (!pending.empty()) {
        putBack(pending.begin()->first);
    }
}

void TextInserter::putBack(PasteSource source)
{
    const auto restore = pending.extract(source);
    pasteboard.restore(source, restore.mapped().items);
}

void TextInserter::anticipate()
{
    expecting = true;
    keys.prepare();
    if (pasteboard.isAtHand()) {
        return; // what is put back is what is found when the text is pasted
    }
    watching = ++watches;
    ahead.clear();
    watchIn(Duration::zero());
}

void TextInserter::dismiss()
{
    expecting = false;
    restKeys();
    watching = 0;
    nextWatch.reset();
    ahead.clear();
}

void TextInserter::watchIn(Duration delay)
{
    nextWatch = loop.startTimer(delay, [this] { watch(); });
}

void TextInserter::watch()
{
    const PasteSource source = focus.pasteChord().source;
    const auto known = ahead.find(source);
    const bool stale =
        known == ahead.end() || known->second.changeCount != pasteboard.changeCount(source);
    // While a restore is pending its snapshot serves the next text too.
    if (stale && !pending.contains(source)) {
        spawn(loop, lifetime.token(), readAhead(source, watching));
    } else {
        watchIn(watchEvery);
    }
}

Task<void> TextInserter::readAhead(PasteSource source, std::int64_t number)
{
    const auto count = pasteboard.changeCount(source);
    auto items = co_await pasteboard.snapshot(source);
    if (watching == number) {
        ahead[source] = {count, std::move(items)};
        watchIn(watchEvery);
    }
}

void TextInserter::insert(const std::string& text, std::optional<std::uint64_t> onlyInto)
{
    add({.text = text,
         .toBeLeft = false,
         .onlyInto = onlyInto,
         .isSecondTry = false,
         .keysBy = {}});
}

void TextInserter::leave(const std::string& text)
{
    add({.text = text,
         .toBeLeft = true,
         .onlyInto = std::nullopt,
         .isSecondTry = false,
         .keysBy = {}});
}

void TextInserter::add(Waiting text)
{
    expecting = false;
    watching = 0;
    nextWatch.reset();
    waiting.push_back(std::move(text));
    if (!std::exchange(inserting, true)) {
        spawn(loop, lifetime.token(), insertWaiting());
    }
}

bool TextInserter::abandon()
{
    const bool any = !waiting.empty() || shown;
    waiting.clear();
    if (shown && pending.contains(*shown)) {
        putBack(*shown);
    }
    return any;
}

Task<void> TextInserter::insertWaiting()
{
    // Whatever is awaited, the texts may be abandoned, and others wait, when it is there.
    while (!waiting.empty()) {
        if (belongsElsewhere(waiting.front())) {
            co_await awaitReader(PasteSource::clipboard);
            if (!waiting.empty() && belongsElsewhere(waiting.front())) {
                leaveNow(std::exchange(waiting.front().text, {}));
                waiting.pop_front();
            }
            continue;
        }
        const PasteChord chord = co_await readyChord();
        if (waiting.empty()) {
            break;
        }
        if (awaitsKeys(waiting.front())) {
            continue; // they were ready before the contents were there
        }
        if (keys.readiness() != KeyReadiness::ready) {
            waiting.front().toBeLeft = true; // it stays at hand
        } else if (!belongsElsewhere(waiting.front())) {
            Waiting next = std::move(waiting.front());
            waiting.pop_front();
            co_await paste(std::move(next), chord);
        }
    }
    if (watching == 0) {
        ahead.clear(); // what was read for nothing
    }
    inserting = false;
    restKeys();
}

void TextInserter::restKeys()
{
    if (!expecting && !inserting) {
        keys.rest();
    }
}

/// The chord for the next text, once that may be pasted and the contents below it are known.
Task<PasteChord> TextInserter::readyChord()
{
    PasteChord chord = focus.pasteChord();
    for (int round = 1;; ++round) {
        co_await awaitReader(chord.source);
        co_await awaitKeys();
        co_await readContents(chord.source); // late: while anything is awaited, it goes out of date
        // Each may have taken a second and more: the person may be in another program by now.
        co_await findFocus();
        const PasteSource ready = std::exchange(chord, focus.pasteChord()).source;
        if (chord.source == ready && (areContentsKnown(ready) || round >= mostRounds)) {
            co_return chord;
        }
    }
}

bool TextInserter::belongsElsewhere(const Waiting& text) const
{
    return text.toBeLeft || (text.onlyInto && focus.window() != text.onlyInto);
}

void TextInserter::leaveNow(const std::string& text)
{
    forgetLeftIfTaken();
    left = left.empty() ? text : left + ' ' + text;
    leftAt = loop.now();
    pending.erase(PasteSource::clipboard); // what was beneath does not come back
    pasteboard.copyString(PasteSource::clipboard, left);
    if (onLeft) {
        onLeft();
    }
}

void TextInserter::forgetLeftIfTaken()
{
    const auto use = pasteboard.use(PasteSource::clipboard);
    const bool isBeneath = pending.contains(PasteSource::clipboard);
    const bool isThere = use == PasteboardUse::unread || use == PasteboardUse::underway;
    const bool isOld = loop.now() - leftAt > joinWithin;
    if (use == PasteboardUse::replaced || (!isThere && !isBeneath) || isOld) {
        left.clear();
    }
}

Task<void> TextInserter::paste(Waiting next, PasteChord chord)
{
    const auto source = chord.source;
    forgetLeftIfTaken();
    pending[source] = {takeContents(source), next.text, loop.now(), chord.takesRarely, true, {}};
    pasteboard.setString(source, chord.typesIntoTerminal ? inOneLine(next.text) : next.text);
    if (pasteboard.use(source) == PasteboardUse::underway) {
        putBack(source); // the chord might paste what is still there
        next.toBeLeft = true;
        waiting.push_front(std::move(next));
        co_return;
    }
    if (chord.looksFirst) {
        shown = source;
        co_await awaitLook(source);
        co_await findFocus();
        shown.reset();
        if (!pending.contains(source)) {
            co_return; // abandoned meanwhile, or put back since there will be no later
        }
        if (pasteboard.use(source) == PasteboardUse::replaced || belongsElsewhere(next) ||
            keys.readiness() != KeyReadiness::ready || focus.pasteChord() != chord) {
            putBack(source);
            next.toBeLeft =
                next.toBeLeft || (!awaitsKeys(next) && std::exchange(next.isSecondTry, true));
            waiting.push_front(std::move(next));
            co_return;
        }
    }
    const bool isKnown = focus.isKnown();
    pasteShortcut(chord);
    if (pasteboard.use(source) == PasteboardUse::untracked) {
        auto items = std::move(pending.extract(source).mapped().items);
        spawn(loop, lifetime.token(), restoreUntracked(source, std::move(items)));
    } else {
        pending[source].isKnown = isKnown;
        pending[source].pasted = loop.now();
        pending[source].look = lookIn(restoreAfter, source);
    }
}

/// Waits until it is known anew which program has the focus, as far as the desktop tells.
Task<void> TextInserter::findFocus()
{
    Completion<Done> found;
    focus.look([completer = found.completer()] { completer.complete({}); });
    co_await found;
}

/// Waits until the program knows that there is something to paste.
Task<void> TextInserter::awaitLook(PasteSource source)
{
    const TimePoint limit = loop.now() + seenAtLatest;
    while (!pasteboard.wasLookedAt(source) && loop.now() < limit &&
           pasteboard.use(source) != PasteboardUse::replaced) {
        co_await sleepFor(loop, seenEvery);
    }
}

/// Waits until the text pasted before was read, so that its reader does not get the next one; or
/// was left, where it would be lost.
Task<void> TextInserter::awaitReader(PasteSource source)
{
    while (true) {
        const auto before = pending.find(source);
        if (before == pending.end() || pasteboard.use(source) != PasteboardUse::unread ||
            (loop.now() - before->second.pasted >= restoreAtLatest && before->second.isKnown)) {
            co_return;
        }
        co_await sleepFor(loop, lookEvery);
    }
}

/// Waits until the next text's chord can be posted, or it is clear that it cannot.
Task<void> TextInserter::awaitKeys()
{
    while (!waiting.empty() && awaitsKeys(waiting.front())) {
        co_await sleepFor(loop, lookEvery);
    }
}

/// Whether the keys for `text` are ready soon, and may be so for some time yet.
bool TextInserter::awaitsKeys(Waiting& text)
{
    if (keys.readiness() != KeyReadiness::soon) {
        return false;
    }
    text.keysBy = text.keysBy.value_or(loop.now() + keysAtLatest);
    return loop.now() < *text.keysBy;
}

/// Whether it is known what is to stand on the pasteboard again once the next text was pasted.
bool TextInserter::areContentsKnown(PasteSource source)
{
    const bool beneathOurs =
        pending.contains(source) && pasteboard.use(source) != PasteboardUse::replaced;
    const auto known = ahead.find(source);
    return beneathOurs ||
           (known != ahead.end() && known->second.changeCount == pasteboard.changeCount(source));
}

/// Makes it known.
Task<void> TextInserter::readContents(PasteSource source)
{
    if (areContentsKnown(source)) {
        co_return;
    }
    const auto count = pasteboard.changeCount(source);
    auto items = co_await pasteboard.snapshot(source);
    ahead[source] = {count, std::move(items)};
}

/// What `readContents` made known.
PasteboardSnapshot TextInserter::takeContents(PasteSource source)
{
    auto restore = pending.extract(source);
    auto known = ahead.extract(source);
    if (restore && (!known || pasteboard.use(source) != PasteboardUse::replaced)) {
        return std::move(restore.mapped().items);
    }
    return known ? std::move(known.mapped().items) : PasteboardSnapshot();
}

Timer TextInserter::lookIn(Duration delay, PasteSource source)
{
    return loop.startTimer(delay, [this, source] { look(source); });
}

/// Puts the contents back that are pending for `source`, unless its text is still to be read, or
/// was pasted by a chord that may have been another program's, or where there may be no text.
void TextInserter::look(PasteSource source)
{
    const auto use = pasteboard.use(source);
    Restore& restore = pending.at(source);
    const auto patience = restore.takenRarely ? restoreAfter : restoreAtLatest;
    if (use == PasteboardUse::unread && loop.now() - restore.pasted < patience) {
        restore.look = lookIn(lookEvery, source);
        return;
    }
    const bool perhapsLost =
        use == PasteboardUse::unread && (restore.takenRarely || !restore.isKnown);
    if (perhapsLost && source == PasteSource::clipboard) {
        leaveNow(std::exchange(restore.text, {}));
        return;
    }
    putBack(source);
}

Task<void> TextInserter::restoreUntracked(PasteSource source, PasteboardSnapshot items)
{
    co_await sleepFor(loop, restoreAfter);
    pasteboard.replace(source, items);
}

void TextInserter::pasteShortcut(const PasteChord& chord)
{
    keys.post(chord.keyCode, /*keyDown=*/true, chord.modifiers);
    keys.post(chord.keyCode, /*keyDown=*/false, chord.modifiers);
}

} // namespace vorlin
