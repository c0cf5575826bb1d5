// What other programs put into selections: lists of targets, names, pieces of transfers, text.

#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/PropertyPieces.h"
#include "Platform/Linux/Pasteboard/SelectionTargets.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

namespace {

void expect(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// Each piece: its type, its format, its length, its bytes.
void joinPieces(std::span<const std::uint8_t> input)
{
    constexpr std::size_t most = 300;
    vorlin::PropertyPieces pieces;
    std::size_t expected = 0;
    while (input.size() >= 3) {
        const auto length = std::min<std::size_t>(input[2], input.size() - 3);
        const auto state = pieces.add(input[0] + 1U, input[1], input.subspan(3, length), most);
        expected += length;
        expect(pieces.size() <= most);
        if (state == vorlin::PropertyPieces::State::complete) {
            expect(pieces.take().bytes.size() == expected);
            return;
        }
        if (state == vorlin::PropertyPieces::State::rejected) {
            expect(pieces.size() == 0);
        }
        input = input.subspan(3 + length);
    }
}

void nameThere(const std::string& text)
{
    if (const auto form = vorlin::targetForm(text)) {
        expect(vorlin::pasteboardType(*form) == text);
        vorlin::isKeptTarget(form->target);
        vorlin::isKeptType(form->type);
        vorlin::readingOrder(form->target);
    }
    const vorlin::TargetForm form{text, text.substr(text.size() / 2), 32};
    if (const auto name = vorlin::pasteboardType(form)) {
        expect(vorlin::targetForm(*name) == form);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::span input(data, size);
    const std::string text(input.begin(), input.end());
    expect(vorlin::numbersIn(input, 7).size() == std::min<std::size_t>(size / 4, 7));
    joinPieces(input);
    nameThere(text);
    // At most three characters for one of three bytes.
    expect(vorlin::latin1Of(text).size() <= size);
    // What is offered is what a snapshot of it reads.
    const auto half = static_cast<std::ptrdiff_t>(size / 2);
    const vorlin::PasteboardSnapshot contents = {
        {{text.substr(0, size / 2), {input.begin() + half, input.end()}}}};
    const auto read = vorlin::snapshotOf(vorlin::restoredOffering(contents));
    expect(read.empty() || read == contents);
    expect(vorlin::secretOffering(text).secret());
    expect(!vorlin::textOffering(text).secret());
    return 0;
}
