#pragma once

#include "Platform/Linux/Accessibility/AccessibilityBus.h"
#include "Platform/Linux/Accessibility/ActiveWindowSearch.h"
#include "Ports/FocusedProgram.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// The window that has the focus, as the programs themselves say it to those who read windows out,
/// where the person has that switched on. Nothing of it is kept current: what is known is what the
/// latest look has found. Main loop; a look waits for nothing.
class AccessibleFocus final : public FocusedProgram {
public:
    /// The chord that pastes in a program, by the name of its file and by the one that it gives
    /// itself.
    using ChordFor = std::function<PasteChord(std::string_view file, std::string_view name)>;

    static constexpr std::chrono::milliseconds usualPatience{100};

    /// `bus` and `unknown` must outlive this; `unknown` answers for the chord while the window is
    /// not known.
    AccessibleFocus(const AccessibilityBus& bus, ChordFor chordFor, FocusedProgram& unknown,
                    std::chrono::milliseconds patience = usualPatience);

    PasteChord pasteChord() override;
    /// Never: it is the programs' own word, and a text is not to be lost by one that says too much.
    bool isKnown() const override { return false; }
    std::optional<std::uint64_t> window() override;
    /// Where another look runs both end with this one.
    void look(std::function<void()> found) override;

private:
    void take(const std::optional<ActiveWindow>& found);

    const AccessibilityBus& bus;
    ChordFor chordFor;
    FocusedProgram& unknown;
    const std::chrono::milliseconds patience;
    std::optional<ActiveWindow> focused;
    std::vector<std::function<void()>> waiting;
    std::unique_ptr<ActiveWindowSearch> search;
};

} // namespace vorlin
