#pragma once

#include "Ports/Pasteboard.h"

namespace vorlin {

/// The general pasteboard. It does not tell who reads what lies there.
class MacPasteboard final : public Pasteboard {
public:
    /// Read before it returns, whole, whatever that takes its owner.
    Completion<PasteboardSnapshot> snapshot(PasteSource source) override;
    bool isAtHand() const override { return true; }
    std::int64_t changeCount(PasteSource source) const override;
    void replace(PasteSource source, const PasteboardSnapshot& contents) override;
    void restore(PasteSource source, const PasteboardSnapshot& contents) override;
    void setString(PasteSource source, const std::string& text) override;
    void copyString(PasteSource source, const std::string& text) override;
    PasteboardUse use(PasteSource source) const override;

private:
    /// The number of what was written here last.
    std::int64_t written = -1;
};

} // namespace vorlin
