// How long from letting the key go to the paste chord, the recogniser's own time apart: the whole
// program on the desktop it runs in, with a recogniser that answers at once, driven by keys.

#include "App/Linux/X11Desktop.h"
#include "VorlinApp.h"
#include "fakes/FakeSpeechAnalyzers.h"

#include <QCoreApplication>

#include <fmt/core.h>
#include <xcb/xcb.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::uint8_t rightAlt = 108;
constexpr std::uint8_t letterV = 55;
/// Nobody pastes here, and the next text would wait for its reader that long.
constexpr auto untilRestored = 3200ms;

/// A person at the keyboard, who sees every key event of the desktop.
class Keyboard {
public:
    Keyboard()
    {
        // The reply tells the server that this client knows the extension.
        std::free(xcb_input_xi_query_version_reply(
            connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
        struct {
            xcb_input_event_mask_t header;
            std::uint32_t mask;
        } const selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS};
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_input_xi_select_events(connection, root, 1, &selection.header);
        xcb_flush(connection);
    }
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;
    ~Keyboard() { xcb_disconnect(connection); }

    Clock::time_point post(std::uint8_t key, bool down)
    {
        xcb_test_fake_input(connection, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, 0, XCB_NONE, 0,
                            0, 0);
        xcb_flush(connection);
        return Clock::now();
    }

    /// When `key` goes down next, as this client learns of it; nothing within `limit`.
    std::optional<Clock::time_point> awaitPress(std::uint8_t key, Clock::duration limit)
    {
        const auto deadline = Clock::now() + limit;
        while (Clock::now() < deadline) {
            const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
                xcb_poll_for_event(connection), &std::free);
            if (!event) {
                std::this_thread::sleep_for(200us);
                continue;
            }
            const auto& press = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(*event);
            if ((event->response_type & 0x7FU) == XCB_GE_GENERIC &&
                press.event_type == XCB_INPUT_RAW_KEY_PRESS && press.detail == key) {
                return Clock::now();
            }
        }
        return std::nullopt;
    }

private:
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
};

void dictate(std::vector<double>& results)
{
    Keyboard keyboard;
    std::this_thread::sleep_for(1s);
    for (int i = 0; i < 15; ++i) {
        keyboard.post(rightAlt, true);
        std::this_thread::sleep_for(600ms);
        const auto released = keyboard.post(rightAlt, false);
        if (const auto pasted = keyboard.awaitPress(letterV, 10s)) {
            results.push_back(Milliseconds(*pasted - released).count());
        }
        std::this_thread::sleep_for(untilRestored);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication qt(argc, argv);
    const auto environment = vorlin::processEnvironment();
    vorlin::LinuxServices services(environment);
    vorlin::X11Desktop desktop(services, environment);
    vorlin::FakeSpeechAnalyzers recogniser;
    recogniser.spoken = "hello world";
    const auto real = desktop.ports();
    const vorlin::Ports ports{
        .loop = real.loop,
        .audioInput = real.audioInput,
        .audioConverters = real.audioConverters,
        .speechAnalyzers = recogniser,
        .eventTap = real.eventTap,
        .keyPoster = real.keyPoster,
        .focusedProgram = real.focusedProgram,
        .pasteboard = real.pasteboard,
        .defaults = real.defaults,
        .state = real.state,
        .permissions = real.permissions,
        .session = real.session,
        .sounds = real.sounds,
        .locale = real.locale,
        .mlModels = real.mlModels,
        .folders = real.folders,
        .workingFolders = real.workingFolders,
        .http = real.http,
        .random = real.random,
        .workers = real.workers,
        .screens = real.screens,
        .overlayPanel = real.overlayPanel,
        .statusItem = real.statusItem,
        .localKeyMonitor = real.localKeyMonitor,
        .loginItem = real.loginItem,
        .workspace = real.workspace,
        .wording = real.wording,
    };
    vorlin::VorlinApp app(ports, [] {});
    app.model();

    std::vector<double> results;
    std::thread person([&results] {
        dictate(results);
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    person.join();
    if (results.empty()) {
        fmt::print("no chord was posted\n");
        return 1;
    }
    std::ranges::sort(results);
    fmt::print("key let go to paste chord, without the recogniser ({}): median {:.1f} ms, "
               "min {:.1f} ms, max {:.1f} ms\n",
               results.size(), results[results.size() / 2], results.front(), results.back());
    return 0;
}
