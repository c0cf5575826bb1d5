#pragma once

#include "Ports/Pasteboard.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace vorlin {

/// A pasteboard and a primary selection in memory. The test reads and copies for other programs.
class FakePasteboard final : public Pasteboard {
public:
    struct Board {
        PasteboardSnapshot items;
        std::int64_t changeCount = 0;
        PasteboardUse use = PasteboardUse::replaced;
        /// Clipboard managers are asked to leave it alone.
        bool isMarked = false;
    };

    /// Whether this platform tells who uses the pasteboard.
    bool tracked = true;
    bool snapshotsCompleteAtOnce = true;
    /// Whether this platform keeps the contents itself.
    bool atHand = false;
    /// Whether the focused program knows of what was put here last.
    bool lookedAt = true;
    /// Whether what is put here is known to be here at once.
    bool confirms = true;
    int snapshots = 0;
    /// Called after contents were put here that are to stay.
    std::function<void(const std::string&)> onCopyString = [](const std::string&) {};
    /// Called before contents are put back, decided as that is.
    std::function<void()> beforeRestore = [] {};
    std::map<PasteSource, Board> boards;

    static PasteboardSnapshot text(const std::string& text)
    {
        return {{{"text", {text.begin(), text.end()}}}};
    }

    /// Another program copies something.
    void copy(PasteboardSnapshot items, PasteSource source = PasteSource::clipboard)
    {
        auto& board = boards[source];
        board = {std::move(items), board.changeCount + 1, PasteboardUse::replaced, false};
    }

    /// Another program pastes: gives the text it gets.
    std::string read(PasteSource source = PasteSource::clipboard)
    {
        auto& board = boards[source];
        if (board.use == PasteboardUse::unread) {
            board.use = PasteboardUse::read;
        }
        return string(source);
    }

    std::string string(PasteSource source = PasteSource::clipboard)
    {
        const auto& items = boards[source].items;
        if (items.empty()) {
            return {};
        }
        const auto& bytes = items.front().at("text");
        return {bytes.begin(), bytes.end()};
    }

    void completeSnapshot()
    {
        const auto [source, completer] = *std::exchange(pending, std::nullopt);
        completer.complete(boards[source].items);
    }

    Completion<PasteboardSnapshot> snapshot(PasteSource source) override
    {
        ++snapshots;
        Completion<PasteboardSnapshot> taken;
        pending.emplace(source, taken.completer());
        if (snapshotsCompleteAtOnce) {
            completeSnapshot();
        }
        return taken;
    }
    bool isAtHand() const override { return atHand; }
    std::int64_t changeCount(PasteSource source) const override
    {
        const auto found = boards.find(source);
        return found == boards.end() ? 0 : found->second.changeCount;
    }
    void replace(PasteSource source, const PasteboardSnapshot& contents) override
    {
        write(source, contents);
    }
    void restore(PasteSource source, const PasteboardSnapshot& contents) override
    {
        beforeRestore();
        if (use(source) != PasteboardUse::replaced) {
            write(source, contents);
        }
    }
    void setString(PasteSource source, const std::string& string) override
    {
        write(source, text(string));
        boards[source].isMarked = true;
    }
    void copyString(PasteSource source, const std::string& string) override
    {
        write(source, text(string));
        onCopyString(string);
    }
    PasteboardUse use(PasteSource source) const override
    {
        const auto found = boards.find(source);
        if (!tracked) {
            return PasteboardUse::untracked;
        }
        return found == boards.end() ? PasteboardUse::replaced : found->second.use;
    }
    bool wasLookedAt(PasteSource) const override { return lookedAt; }

private:
    void write(PasteSource source, PasteboardSnapshot items)
    {
        auto& board = boards[source];
        board = {std::move(items), board.changeCount + 1,
                 confirms ? PasteboardUse::unread : PasteboardUse::underway, false};
    }

    std::optional<std::pair<PasteSource, Completer<PasteboardSnapshot>>> pending;
};

} // namespace vorlin
