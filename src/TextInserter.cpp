#include "TextInserter.h"

#include "Async/Sleep.h"

#include <utility>

namespace vorlin {

namespace {

constexpr auto restoreAfter = std::chrono::milliseconds(500);
constexpr auto restoreAtLatest = std::chrono::milliseconds(3000);
constexpr auto lookEvery = std::chrono::milliseconds(20);
constexpr auto watchEvery = std::chrono::milliseconds(100);

} // namespace

TextInserter::TextInserter(MainLoop& loop, Pasteboard& pasteboard, KeyPoster& keys,
                           FocusedProgram& focus)
    : loop(loop), pasteboard(pasteboard), keys(keys), focus(focus)
{
}

TextInserter::~TextInserter()
{
    for (const auto& [source, restore] : pending) {
        if (pasteboard.use(source) != PasteboardUse::replaced) {
            pasteboard.replace(source, restore.items);
        }
    }
}

void TextInserter::anticipate()
{
    watching = ++lastNumber;
    ahead.clear();
    spawn(loop, lifetime.token(), watch(watching));
}

void TextInserter::dismiss()
{
    watching = 0;
    ahead.clear();
}

Task<void> TextInserter::watch(std::int64_t number)
{
    while (watching == number) {
        const PasteSource source = focus.pasteChord().source;
        const auto count = pasteboard.changeCount(source);
        const auto known = ahead.find(source);
        const bool stale = known == ahead.end() || known->second.changeCount != count;
        // While a restore is pending its snapshot serves the next text too.
        if (stale && !pending.contains(source)) {
            auto items = co_await pasteboard.snapshot(source);
            if (watching != number) {
                co_return;
            }
            ahead[source] = {count, std::move(items)};
        }
        co_await sleepFor(loop, watchEvery);
    }
}

void TextInserter::insert(const std::string& text)
{
    watching = 0;
    waiting.push_back(text);
    if (!std::exchange(inserting, true)) {
        spawn(loop, lifetime.token(), insertWaiting());
    }
}

Task<void> TextInserter::insertWaiting()
{
    while (!waiting.empty()) {
        std::string text = std::move(waiting.front());
        waiting.pop_front();
        co_await paste(std::move(text));
    }
    inserting = false;
}

Task<void> TextInserter::paste(std::string text)
{
    co_await awaitReader(focus.pasteChord().source);
    const PasteChord chord = focus.pasteChord();
    auto items = co_await contentsBeneath(chord.source);
    pasteboard.setString(chord.source, text);
    pasteShortcut(chord);
    const auto number = ++lastNumber;
    const bool tracked = pasteboard.use(chord.source) != PasteboardUse::untracked;
    if (tracked) {
        pending[chord.source] = {std::move(items), loop.now(), number};
        spawn(loop, lifetime.token(), restoreLater(chord.source, number));
    } else {
        loop.postAfter(restoreAfter,
                       lifetime.guard([this, source = chord.source, items = std::move(items)] {
                           pasteboard.replace(source, items);
                       }));
    }
}

/// Waits until the text pasted before was read, so that its reader does not get the next one.
Task<void> TextInserter::awaitReader(PasteSource source)
{
    while (true) {
        const auto before = pending.find(source);
        if (before == pending.end() || pasteboard.use(source) != PasteboardUse::unread ||
            loop.now() - before->second.pasted >= restoreAtLatest) {
            co_return;
        }
        co_await sleepFor(loop, lookEvery);
    }
}

/// What is to stand on the pasteboard again once the next text has been pasted.
Task<PasteboardSnapshot> TextInserter::contentsBeneath(PasteSource source)
{
    if (auto restore = pending.extract(source)) {
        if (pasteboard.use(source) != PasteboardUse::replaced) {
            co_return std::move(restore.mapped().items);
        }
    }
    auto known = ahead.extract(source);
    if (known && known.mapped().changeCount == pasteboard.changeCount(source)) {
        co_return std::move(known.mapped().items);
    }
    co_return co_await pasteboard.snapshot(source);
}

bool TextInserter::isPending(PasteSource source, std::int64_t number) const
{
    const auto found = pending.find(source);
    return found != pending.end() && found->second.number == number;
}

Task<void> TextInserter::restoreLater(PasteSource source, std::int64_t number)
{
    co_await sleepFor(loop, restoreAfter);
    while (isPending(source, number)) {
        const auto use = pasteboard.use(source);
        const auto& restore = pending.at(source);
        if (use == PasteboardUse::unread && loop.now() - restore.pasted < restoreAtLatest) {
            co_await sleepFor(loop, lookEvery);
            continue;
        }
        if (use != PasteboardUse::replaced) {
            pasteboard.replace(source, restore.items);
        }
        pending.erase(source);
    }
}

void TextInserter::pasteShortcut(const PasteChord& chord)
{
    keys.post(chord.keyCode, /*keyDown=*/true, chord.modifiers);
    keys.post(chord.keyCode, /*keyDown=*/false, chord.modifiers);
}

} // namespace vorlin
