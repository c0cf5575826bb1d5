#include "PrivateSoundServer.h"

#include <gtest/gtest.h>

#include <pulse/error.h>
#include <pulse/simple.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

/// For the thread sanitizer. The player has a libpulse thread beside the program's one; the
/// library's threads share free lists whose atomic operations the sanitizer cannot see.
extern "C" const char* __tsan_default_suppressions()
{
    return "race:libpulsecommon\n";
}

namespace vorlin {

namespace {

constexpr auto startLimit = std::chrono::seconds(30);

std::string output(const std::string& command)
{
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> piece{};
    while (std::size_t length = fread(piece.data(), 1, piece.size(), pipe)) {
        text.append(piece.data(), length);
    }
    pclose(pipe);
    return text;
}

/// How many streams of `list` belong to clients; those of the server's own modules have none.
std::size_t countClientStreams(const std::string& list)
{
    std::istringstream lines(list);
    std::string line;
    std::size_t count = 0;
    while (std::getline(lines, line)) {
        count += line.find("\t-\t") == std::string::npos ? 1U : 0U;
    }
    return count;
}

} // namespace

bool PrivateSoundServer::isInstalled(Kind kind)
{
    return kind == Kind::pulseAudio ? std::filesystem::exists("/usr/bin/pulseaudio")
                                    : std::filesystem::exists("/usr/bin/wireplumber") &&
                                          std::filesystem::exists("/usr/bin/pipewire-pulse");
}

PrivateSoundServer::PrivateSoundServer(const Layout& layout) : layout(layout)
{
    std::string name = (std::filesystem::temp_directory_path() / "vorlin-sound-XXXXXX").string();
    folder = mkdtemp(name.data());
    setenv("HOME", folder.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
    setenv("XDG_STATE_HOME", (folder / "state").c_str(), 1);
    setenv("PULSE_SERVER", ("unix:" + (folder / "pulse" / "native").string()).c_str(), 1);
    unsetenv("DISPLAY");
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

PrivateSoundServer::~PrivateSoundServer()
{
    kill();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void PrivateSoundServer::start()
{
    if (layout.kind == Kind::pulseAudio) {
        std::ofstream(folder / "server.pa") << "load-module module-native-protocol-unix\n";
        spawn({"pulseaudio", "-n", "-F", (folder / "server.pa").string(), "--daemonize=no",
               "--exit-idle-time=-1", "--use-pid-file=no"});
    } else {
        // Its session manager ends without a message bus.
        const std::string bus = "unix:path=" + (folder / "bus").string();
        setenv("DBUS_SESSION_BUS_ADDRESS", bus.c_str(), 1);
        spawn({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + bus});
        awaitFile("bus");
        spawn({"pipewire"});
        awaitFile("pipewire-0");
        spawn({"wireplumber"});
        spawn({"pipewire-pulse"});
        awaitAnswer("info", "Default Source: auto_null.monitor");
    }
    awaitAnswer("stat", "Currently in use");
    control("load-module module-null-sink sink_name=speakers norewinds=1");
    control("set-default-sink speakers");
    awaitAnswer("info", "Default Sink: speakers");
    if (layout.hasMicrophone) {
        control("load-module module-null-sink sink_name=vmic norewinds=1 format=float32le rate=" +
                std::to_string(layout.rate) + " channels=" + std::to_string(layout.channels));
        control("load-module module-remap-source master=vmic.monitor source_name=mic");
        control("set-default-source mic");
        awaitAnswer("info", "Default Source: mic");
    }
}

void PrivateSoundServer::spawn(std::vector<std::string> command)
{
    const std::string log = (folder / (command.front() + ".log")).string();
    std::vector<char*> arguments;
    for (auto& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    const int process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (std::freopen(log.c_str(), "w", stdout) != nullptr) {
            dup2(STDOUT_FILENO, STDERR_FILENO);
        }
        execvp(arguments.front(), arguments.data());
        _exit(127);
    }
    processes.push_back(process);
}

void PrivateSoundServer::awaitFile(const std::string& name) const
{
    const auto deadline = std::chrono::steady_clock::now() + startLimit;
    while (!std::filesystem::exists(folder / name)) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the sound server does not make " + name);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void PrivateSoundServer::awaitAnswer(const std::string& arguments,
                                     const std::string& expected) const
{
    const auto deadline = std::chrono::steady_clock::now() + startLimit;
    std::string answer;
    while ((answer = control(arguments)).find(expected) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the sound server does not start: " + answer);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void PrivateSoundServer::kill()
{
    signal(SIGKILL);
    for (const int process : processes) {
        waitpid(process, nullptr, 0);
    }
    processes.clear();
    std::filesystem::remove(folder / "pulse" / "native");
    std::filesystem::remove(folder / "pipewire-0");
    std::filesystem::remove(folder / "bus");
}

void PrivateSoundServer::freeze()
{
    signal(SIGSTOP);
}

void PrivateSoundServer::thaw()
{
    signal(SIGCONT);
}

void PrivateSoundServer::signal(int number) const
{
    for (const int process : processes) {
        ::kill(process, number);
    }
}

std::string PrivateSoundServer::control(const std::string& arguments) const
{
    return output("LC_ALL=C pactl " + arguments + " 2>&1");
}

std::size_t PrivateSoundServer::recordingStreams() const
{
    return countClientStreams(control("list short source-outputs"));
}

std::size_t PrivateSoundServer::playingStreams() const
{
    return countClientStreams(control("list short sink-inputs"));
}

struct MicrophonePlayer::Stream {
    pa_simple* connection = nullptr;
};

MicrophonePlayer::MicrophonePlayer(const std::vector<float>& samples, std::uint32_t rate,
                                   std::uint32_t channels)
    : stream(new Stream), frames(samples.size() / channels), rate(rate)
{
    const pa_sample_spec format = {.format = PA_SAMPLE_FLOAT32NE,
                                   .rate = rate,
                                   .channels = static_cast<std::uint8_t>(channels)};
    const auto bytes = static_cast<std::uint32_t>(samples.size() * sizeof(float));
    pa_buffer_attr attributes;
    attributes.maxlength = attributes.tlength = bytes;
    attributes.prebuf = bytes;
    attributes.minreq = attributes.fragsize = static_cast<std::uint32_t>(-1);
    int error = 0;
    stream->connection = pa_simple_new(nullptr, "player", PA_STREAM_PLAYBACK, "vmic", "test",
                                       &format, nullptr, &attributes, &error);
    if (stream->connection == nullptr ||
        pa_simple_write(stream->connection, samples.data(), bytes, &error) < 0) {
        throw std::runtime_error(std::string("the player fails: ") + pa_strerror(error));
    }
}

MicrophonePlayer::~MicrophonePlayer()
{
    if (stream->connection != nullptr) {
        pa_simple_free(stream->connection);
    }
    delete stream;
}

void MicrophonePlayer::drain()
{
    int error = 0;
    EXPECT_EQ(pa_simple_drain(stream->connection, &error), 0) << pa_strerror(error);
}

std::uint64_t MicrophonePlayer::framesPlayed()
{
    int error = 0;
    const pa_usec_t left = pa_simple_get_latency(stream->connection, &error);
    EXPECT_EQ(error, 0) << pa_strerror(error);
    const std::uint64_t waiting = (left * rate + 999999) / 1000000;
    return waiting < frames ? frames - waiting : 0;
}

} // namespace vorlin
