#include "Platform/Linux/Wayland/WaylandConnection.h"

#include "Platform/Linux/Wayland/PrivateCompositor.h"

#include <csignal>
#include <vector>

#include <virtual-keyboard-unstable-v1.h>

namespace vorlin {

TEST(WaylandConnection, knowsWhatTheCompositorOffers)
{
    const PrivateCompositor compositor;
    WaylandConnection connection;
    EXPECT_TRUE(connection.alive().get());
    EXPECT_EQ(connection.compositor(), compositor.pid());
    EXPECT_EQ(connection.offered("zwp_virtual_keyboard_manager_v1"), 1);
    EXPECT_EQ(connection.offered("no_such_global"), 0);
    EXPECT_NE(connection.seat().get(), nullptr);
    EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
}

TEST(WaylandConnection, isNotThereWithoutACompositor)
{
    qputenv("WAYLAND_DISPLAY", "no-such-socket");
    WaylandConnection connection;
    EXPECT_FALSE(connection.alive().get());
    EXPECT_EQ(connection.compositor(), 0);
    EXPECT_EQ(connection.seat().get(), nullptr);
    EXPECT_FALSE(connection.sync(std::chrono::seconds(30)));
    connection.whenCarriedOut([] { FAIL(); });
    connection.flush();
    connection.takeEvents();
}

TEST(WaylandConnection, tellsWhenTheCompositorHasComeToIt)
{
    const PrivateCompositor compositor;
    WaylandConnection connection;
    std::vector<int> told;
    connection.whenCarriedOut([&] {
        told.push_back(1);
        connection.whenCarriedOut([&] { told.push_back(3); });
    });
    connection.whenCarriedOut([&] { told.push_back(2); });
    EXPECT_TRUE(told.empty());
    EXPECT_TRUE(runUntil([&] { return told == std::vector{1, 2, 3}; }));
    connection.whenCarriedOut([&] { told.push_back(4); }); // which the end comes ahead of
}

TEST(WaylandConnection, noticesThatTheCompositorIsGone)
{
    PrivateCompositor compositor;
    WaylandConnection connection;
    compositor.kill();
    EXPECT_TRUE(runUntil([&] { return !connection.alive().get(); }));
    EXPECT_FALSE(connection.sync(std::chrono::seconds(30)));
}

TEST(WaylandConnection, survivesAnErrorOfItsOwn)
{
    const PrivateCompositor compositor;
    WaylandConnection connection;
    auto* const manager = connection.bind<zwp_virtual_keyboard_manager_v1>(
        zwp_virtual_keyboard_manager_v1_interface, 1);
    ASSERT_NE(manager, nullptr);
    auto* const keyboard =
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager, connection.seat().get());
    zwp_virtual_keyboard_v1_key(keyboard, 0, 30, WL_KEYBOARD_KEY_STATE_PRESSED); // has no keymap
    connection.flush();
    EXPECT_TRUE(runUntil([&] { return !connection.alive().get(); }));
    zwp_virtual_keyboard_v1_destroy(keyboard);
    zwp_virtual_keyboard_manager_v1_destroy(manager);
}

TEST(WaylandConnection, doesNotWaitForACompositorThatDoesNotAnswer)
{
    const PrivateCompositor compositor;
    ::kill(static_cast<pid_t>(compositor.pid()), SIGSTOP);
    WaylandConnection connection(std::chrono::milliseconds(50));
    EXPECT_FALSE(connection.alive().get());
}

} // namespace vorlin
