#pragma once

#include "Async/MainLoop.h"
#include "Platform/Linux/Sway/SwaySocket.h"
#include "Ports/FocusedProgram.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vorlin {

/// Where something is in sway's layout of all screens, with y downwards; XWayland counts the same
/// way while no screen is scaled.
struct SwayArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const SwayArea&) const = default;
};

/// The window that has the focus, as sway tells it; kept current, so that asking costs nothing.
/// But no event tells of a launcher, or another layer, that takes the keyboard from it: only a look
/// does. Main loop.
class SwayFocus final : public FocusedProgram {
public:
    /// Of a look; what was known before counts where sway takes longer.
    static constexpr std::chrono::milliseconds usualPatience{100};

    /// `socket` and `loop` must outlive this.
    SwayFocus(SwaySocket& socket, MainLoop& loop,
              std::chrono::milliseconds patience = usualPatience);

    PasteChord pasteChord() override;
    /// Not without a window that has the focus, nor without sway.
    bool isKnown() const override { return id.has_value(); }
    std::optional<std::uint64_t> window() override;
    /// Where another look runs both end with this one.
    void look(std::function<void()> found) override;

    /// Where the focused window is, or, where none has the focus, the workspace that has; nothing
    /// when sway does not tell.
    std::optional<SwayArea> focusedArea() const { return area; }

    /// The process of the focused window's program; nothing when no window has the focus.
    std::optional<pid_t> process() const { return owner; }

    /// Whether the focused window is one of XWayland's.
    bool isOnXWayland() const { return onXWayland; }

private:
    void follow(SwayEvent event, const nlohmann::json& details);
    void ask();
    void take(const nlohmann::json& tree);
    void tellFound();
    void forget();
    /// Takes over a node of the tree that has the focus.
    void focus(const nlohmann::json& node);

    SwaySocket& socket;
    MainLoop& loop;
    const std::chrono::milliseconds patience;
    std::optional<std::uint64_t> id;
    std::string instanceName;
    std::string className;
    std::optional<SwayArea> area;
    std::optional<pid_t> owner;
    bool onXWayland = false;
    /// The tree is being asked for; something changed meanwhile.
    bool asking = false;
    bool stale = false;
    /// Those who look.
    std::vector<std::function<void()>> waiting;
    Timer limit;
    Subscription events;
    Subscription connection;
    std::shared_ptr<const void> alive;
};

} // namespace vorlin
