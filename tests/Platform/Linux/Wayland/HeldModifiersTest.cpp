#include "Platform/Linux/Keys/HeldModifiers.h"

#include "Platform/RunUntil.h"

#include <QTemporaryDir>

#include <array>
#include <map>
#include <set>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>
#include <wayland-server-core.h>

namespace vorlin {

namespace {

constexpr std::uint32_t capsLock = 0;
constexpr std::uint32_t alt = 3;
constexpr std::uint32_t thirdLevel = 7;
constexpr std::uint32_t up = 0;
constexpr std::uint32_t latched = 1;
constexpr std::uint32_t locked = 2;
constexpr std::uint32_t pressed = 3;

const wl_interface* noTypes[] = {nullptr, nullptr};
const wl_message requests[] = {{"fetchStates", "", noTypes}, {"destroy", "4", noTypes}};
const wl_message events[] = {{"stateChanged", "uu", noTypes}};
const wl_interface keyStates{"org_kde_kwin_keystate", 5, 2, requests, 1, events};

/// A compositor that offers nothing but the states of modifiers and locks, on a thread of its own.
class PlayedKeyStates {
public:
    explicit PlayedKeyStates(int version, std::map<std::uint32_t, std::uint32_t> first = {})
        : states(std::move(first))
    {
        qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
        qputenv("WAYLAND_DISPLAY", wl_display_add_socket_auto(display));
        EXPECT_EQ(pipe(ends.data()), 0);
        wl_event_loop_add_fd(wl_display_get_event_loop(display), ends[0], WL_EVENT_READABLE, obey,
                             this);
        wl_global_create(display, &keyStates, version, this, bind);
        thread = std::thread([this] { wl_display_run(display); });
    }
    PlayedKeyStates(const PlayedKeyStates&) = delete;
    PlayedKeyStates& operator=(const PlayedKeyStates&) = delete;
    ~PlayedKeyStates()
    {
        tell(end, 0);
        thread.join();
        wl_display_destroy_clients(display);
        wl_display_destroy(display);
        close(ends[0]);
        close(ends[1]);
    }

    void tell(std::uint32_t key, std::uint32_t state) const
    {
        const std::array<std::uint32_t, 2> command{key, state};
        EXPECT_EQ(write(ends[1], command.data(), sizeof command), sizeof command);
    }

private:
    static constexpr std::uint32_t end = 99;

    struct Requests {
        void (*fetchStates)(wl_client* client, wl_resource* resource);
        void (*destroy)(wl_client* client, wl_resource* resource);
    };

    static PlayedKeyStates& self(void* data) { return *static_cast<PlayedKeyStates*>(data); }

    static void bind(wl_client* client, void* data, std::uint32_t version, std::uint32_t id)
    {
        static constexpr Requests answers{
            .fetchStates =
                [](wl_client* /*client*/, wl_resource* resource) {
                    for (const auto& [key, state] :
                         self(wl_resource_get_user_data(resource)).states) {
                        wl_resource_post_event(resource, 0, key, state);
                    }
                },
            .destroy = [](wl_client* /*client*/,
                          wl_resource* resource) { wl_resource_destroy(resource); }};
        auto* const resource =
            wl_resource_create(client, &keyStates, static_cast<int>(version), id);
        wl_resource_set_implementation(resource, &answers, data, [](wl_resource* gone) {
            self(wl_resource_get_user_data(gone)).watchers.erase(gone);
        });
        self(data).watchers.insert(resource);
    }

    static int obey(int file, std::uint32_t /*mask*/, void* data)
    {
        std::array<std::uint32_t, 2> command{};
        EXPECT_EQ(read(file, command.data(), sizeof command), sizeof command);
        if (command[0] == end) {
            wl_display_terminate(self(data).display);
        }
        for (auto* const each : self(data).watchers) {
            wl_resource_post_event(each, 0, command[0], command[1]);
        }
        return 0;
    }

    QTemporaryDir folder;
    wl_display* display = wl_display_create();
    std::array<int, 2> ends{};
    std::map<std::uint32_t, std::uint32_t> states;
    std::set<wl_resource*> watchers;
    std::thread thread;
};

} // namespace

TEST(HeldModifiers, areThoseThatWereDownBeforeAndAllThatGoDown)
{
    const PlayedKeyStates compositor(5, {{capsLock, up}, {alt, pressed}, {thirdLevel, up}});
    WaylandConnection connection;
    const HeldModifiers held(connection);
    EXPECT_TRUE(runUntil([&] { return held.any(); }));
    compositor.tell(thirdLevel, pressed);
    compositor.tell(alt, up);
    EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    EXPECT_TRUE(held.any());
    compositor.tell(thirdLevel, up);
    EXPECT_TRUE(runUntil([&] { return !held.any(); }));
}

TEST(HeldModifiers, areNoLocks)
{
    const PlayedKeyStates compositor(5, {{alt, pressed}});
    WaylandConnection connection;
    const HeldModifiers held(connection);
    EXPECT_TRUE(runUntil([&] { return held.any(); }));
    compositor.tell(capsLock, locked);
    compositor.tell(capsLock, pressed);
    compositor.tell(alt, up);
    EXPECT_TRUE(runUntil([&] { return !held.any(); }));
}

TEST(HeldModifiers, areTheLatchedAndTheLockedToo)
{
    const PlayedKeyStates compositor(5);
    WaylandConnection connection;
    const HeldModifiers held(connection);
    for (const auto state : {latched, locked}) {
        compositor.tell(alt, state);
        EXPECT_TRUE(runUntil([&] { return held.any(); }));
        compositor.tell(alt, up);
        EXPECT_TRUE(runUntil([&] { return !held.any(); }));
    }
}

TEST(HeldModifiers, areNotKnownWhereLocksAloneAreTold)
{
    const PlayedKeyStates compositor(4, {{alt, pressed}});
    WaylandConnection connection;
    const HeldModifiers held(connection);
    EXPECT_TRUE(connection.sync(std::chrono::seconds(30)));
    EXPECT_FALSE(held.any());
}

} // namespace vorlin
