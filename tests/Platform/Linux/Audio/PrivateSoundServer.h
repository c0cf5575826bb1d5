#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vorlin {

/// A sound server of a test's own, in a folder of its own, as this process's sound server. What
/// is played into its sink "vmic" is heard by its default source "mic"; its default sink is
/// "speakers".
class PrivateSoundServer {
public:
    enum class Kind { pulseAudio, pipeWire };
    struct Layout {
        Kind kind = Kind::pulseAudio;
        /// Of the microphone; PipeWire mixes everything at 48000 Hz.
        std::uint32_t rate = 48000;
        std::uint32_t channels = 2;
        bool hasMicrophone = true;
    };

    /// Whether this machine has a sound server of that kind.
    static bool isInstalled(Kind kind);

    /// Makes the folder and points this process to it; starts nothing yet.
    explicit PrivateSoundServer(const Layout& layout);
    PrivateSoundServer() : PrivateSoundServer(Layout{}) {}
    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;
    ~PrivateSoundServer();

    /// Returns when the server answers.
    void start();
    /// Ends it without warning to its clients.
    void kill();
    /// Stops and continues its process.
    void freeze();
    void thaw();

    /// The output of `pactl` with these arguments.
    std::string control(const std::string& arguments) const;

    /// How many streams of clients record at present.
    std::size_t recordingStreams() const;
    /// How many streams of clients play at present.
    std::size_t playingStreams() const;

private:
    void spawn(std::vector<std::string> command);
    void awaitFile(const std::string& name) const;
    void awaitAnswer(const std::string& arguments, const std::string& expected) const;
    void signal(int number) const;

    std::filesystem::path folder;
    Layout layout;
    std::vector<int> processes;
};

/// Plays float samples into the sink "vmic" of the current sound server. All of them are with
/// the server when the constructor returns.
class MicrophonePlayer {
public:
    MicrophonePlayer(const std::vector<float>& samples, std::uint32_t rate, std::uint32_t channels);
    MicrophonePlayer(const MicrophonePlayer&) = delete;
    MicrophonePlayer& operator=(const MicrophonePlayer&) = delete;
    ~MicrophonePlayer();

    /// Returns when the last sample has been played.
    void drain();

    /// How many frames have been played until now.
    std::uint64_t framesPlayed();

private:
    struct Stream;
    Stream* stream;
    std::uint64_t frames;
    std::uint32_t rate;
};

} // namespace vorlin
