#include "Platform/Linux/Pasteboard/DataControlPasteboard.h"

#include "Platform/Linux/Pasteboard/ContentsKeeper.h"

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

/// What the compositor has said by the start must be known then.
constexpr std::chrono::milliseconds startPatience{500};
/// What another program has copied by then is known within a round trip.
constexpr std::chrono::milliseconds restorePatience{50};
/// A process has started and taken the contents over by then, as a rule.
constexpr std::chrono::milliseconds handoverPatience{500};

} // namespace

DataControlPasteboard::DataControlPasteboard(WaylandConnection& connection, MainLoop& loop,
                                             PipeReaders::FocusedProcess focused)
    : DataControlPasteboard(connection, loop, std::move(focused), Limits())
{
}

DataControlPasteboard::DataControlPasteboard(WaylandConnection& connection, MainLoop& loop,
                                             PipeReaders::FocusedProcess focused, Limits limits)
    : connection(connection), loop(loop), limits(limits), readers(std::move(focused)),
      writers(loop),
      control(DataControl::over(connection, [this](PasteSource source) { changed(source); }))
{
    connection.sync(startPatience);
}

DataControlPasteboard::~DataControlPasteboard()
{
    leave();
}

void DataControlPasteboard::leave()
{
    const auto& own = selections[selectionIndex(PasteSource::clipboard)].own;
    if (!own || own->secret() || !keepContents(*own)) {
        return;
    }
    // Until then nobody sees an empty clipboard, and a copy made meanwhile is seen to be one.
    const auto deadline = std::chrono::steady_clock::now() + handoverPatience;
    while (own && available() && std::chrono::steady_clock::now() < deadline) {
        connection.awaitEvents(deadline);
    }
}

Completion<PasteboardSnapshot> DataControlPasteboard::snapshot(PasteSource source)
{
    Completion<PasteboardSnapshot> read;
    auto& own = selections[selectionIndex(source)].own;
    auto& reading = selections[selectionIndex(source)].reading;
    if (own) {
        read.completer().complete(snapshotOf(*own));
        return read;
    }
    if (!available()) {
        read.completer().complete({});
        return read;
    }
    if (reading.reader && !reading.reader->finished()) {
        reading.collector->addWaiter(read.completer());
        return read;
    }
    reading.reader.reset();
    reading.collector = std::make_shared<SnapshotCollector>();
    reading.collector->addWaiter(read.completer());
    reading.reader = std::make_unique<OfferReader>(
        loop, control->types(source),
        [this, source](const std::string& type, const Descriptor& end) {
            return control->receive(source, type, end);
        },
        reading.collector, limits.bytes, limits.time);
    return read;
}

std::int64_t DataControlPasteboard::changeCount(PasteSource source) const
{
    return status.changeCount(selectionIndex(source));
}

void DataControlPasteboard::replace(PasteSource source, const PasteboardSnapshot& contents)
{
    write(source, restoredOffering(contents));
}

void DataControlPasteboard::restore(PasteSource source, const PasteboardSnapshot& contents)
{
    connection.sync(restorePatience);
    const PasteboardUse now = use(source);
    if (now == PasteboardUse::unread || now == PasteboardUse::read) {
        write(source, restoredOffering(contents));
    }
}

void DataControlPasteboard::setString(PasteSource source, const std::string& text)
{
    readers.beginText();
    Selection& selection = selections[selectionIndex(source)];
    selection.text = write(source, secretOffering(text));
    selection.unpasted = selection.text;
}

void DataControlPasteboard::copyString(PasteSource source, const std::string& text)
{
    write(source, textOffering(text));
}

PasteboardUse DataControlPasteboard::use(PasteSource source) const
{
    return status.use(selectionIndex(source));
}

/// What the compositor passes on before it has come to this was asked for ahead of the chord.
void DataControlPasteboard::noteChord()
{
    for (Selection& selection : selections) {
        if (const auto number = selection.unpasted) {
            connection.whenCarriedOut(lifetime.guard([&selection, number] {
                if (selection.unpasted == number) {
                    selection.unpasted.reset();
                }
            }));
        }
    }
}

/// Returns the contents' number, or nothing where they are not there.
std::optional<std::uint64_t> DataControlPasteboard::write(PasteSource source, Offering offering)
{
    if (!available()) {
        return std::nullopt;
    }
    const auto number = std::make_shared<std::uint64_t>(0);
    const auto kept = std::make_shared<const Offering>(std::move(offering));
    std::vector<std::string> types;
    for (const Offering::Entry& entry : kept->entries) {
        types.push_back(entry.form.target);
    }
    const bool offered = control->offer(
        source, types,
        {.read = [=, this](const std::string& type,
                           Descriptor end) { give(source, *number, *kept, type, std::move(end)); },
         .displaced = [=, this] { displaced(source, *number); }});
    if (offered) {
        *number = status.writing(selectionIndex(source));
        status.became(selectionIndex(source), *number, PasteboardUse::unread);
        selections[selectionIndex(source)].own = kept->entries.empty() ? nullptr : kept;
    }
    return offered ? std::optional(*number) : std::nullopt;
}

void DataControlPasteboard::give(PasteSource source, std::uint64_t number, const Offering& offering,
                                 const std::string& type, Descriptor end)
{
    const auto entry = std::ranges::find(offering.entries, type,
                                         [](const auto& each) { return each.form.target; });
    if (entry == offering.entries.end()) {
        return;
    }
    const Selection& selection = selections[selectionIndex(source)];
    const bool isPasted = selection.unpasted != number;
    if (!isPasted) {
        readers.noteEarly(end, connection.compositor());
    } else if (selection.text == number) {
        readers.notePasted(end);
    }
    const bool counts = type != secrecyHint && isPasted && readers.counts(end);
    writers.write(std::move(end), entry->bytes, [this, source, number, counts] {
        if (counts) {
            status.became(selectionIndex(source), number, PasteboardUse::read);
        }
    });
}

void DataControlPasteboard::displaced(PasteSource source, std::uint64_t number)
{
    if (status.isNewest(selectionIndex(source), number)) {
        selections[selectionIndex(source)].own.reset();
        status.became(selectionIndex(source), number, PasteboardUse::replaced);
    }
}

void DataControlPasteboard::changed(PasteSource source)
{
    status.changed(selectionIndex(source));
    const Reading& reading = selections[selectionIndex(source)].reading;
    if (reading.reader) {
        reading.reader->startAnew(control->types(source));
    }
}

} // namespace vorlin
