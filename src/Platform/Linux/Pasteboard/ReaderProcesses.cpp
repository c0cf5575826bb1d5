#include "Platform/Linux/Pasteboard/ReaderProcesses.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <system_error>

#include <unistd.h>

namespace vorlin {

namespace {

namespace fs = std::filesystem;

constexpr int deepestProcess = 64;

fs::path fileOf(std::uint32_t process, const char* name)
{
    return "/proc/" + std::to_string(process) + "/" + name;
}

std::string programOf(std::uint32_t process)
{
    std::error_code error;
    return fs::read_symlink(fileOf(process, "exe"), error).filename().string();
}

bool runsWhateverItIsGiven(std::string_view program)
{
    static constexpr std::array<std::string_view, 19> names = {
        "python", "perl", "ruby", "node", "java", "gjs",     "lua",  "tclsh", "wish",    "php",
        "bash",   "dash", "zsh",  "fish", "ksh",  "busybox", "mono", "guile", "electron"};
    return std::ranges::any_of(names, [&](auto name) { return program.starts_with(name); });
}

struct Birth {
    std::uint32_t parent = 0;
    std::uint64_t time = 0;
};

std::optional<Birth> birthOf(std::uint32_t process)
{
    std::ifstream file(fileOf(process, "stat"));
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    // The name before may hold anything.
    const std::size_t end = line.rfind(')');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream rest(line.substr(end + 1));
    std::string skipped;
    Birth birth;
    rest >> skipped >> birth.parent;
    for (int field = 5; field < 22; ++field) {
        rest >> skipped;
    }
    rest >> birth.time;
    return rest ? std::optional(birth) : std::nullopt;
}

} // namespace

std::string processName(std::uint32_t process)
{
    std::ifstream file(fileOf(process, "comm"));
    std::string name;
    std::getline(file, name);
    return name;
}

bool isClipboardManager(std::string_view processName)
{
    static constexpr std::array<std::string_view, 44> names = {
        // Programs for nothing else.
        "klipper", "copyq", "xfce4-clipman", "panel-clipman", "clipman", "parcellite", "clipit",
        "diodon", "gpaste-daemon", "clipmenud", "clipcatd", "greenclip", "cliphist", "clipse",
        "qlipper", "glipper", "pasteit", "xclipboard", "autocutsel", "cutsel", "ringboard-x11",
        "lxqt-clipboard", "wl-paste", "wl-clip-persist", "clipvault",
        // Parts of a desktop that keep the clipboard.
        "plasmashell", "gnome-shell", "gsd-clipboard", "csd-clipboard", "msd-clipboard",
        "mate-settings-d", "cinnamon-settin", "fcitx5",
        // Carriers to other machines.
        "spice-vdagent", "VBoxClient", "vncconfig", "xrdp-chansrv", "vmtoolsd", "kdeconnectd",
        "krdpserver", "gnome-remote-de", "deskflow-core", "input-leapc", "input-leaps"};
    return std::find(names.begin(), names.end(), processName) != names.end() ||
           processName.find("clipman") != std::string_view::npos;
}

bool isWindowsProgram(std::uint32_t process)
{
    // By what runs it: its own name is cut off.
    return programOf(process).starts_with("wine") || processName(process).ends_with(".exe");
}

bool runTheSameProgram(std::uint32_t one, std::uint32_t other)
{
    const std::string program = programOf(one);
    std::error_code error;
    return !program.empty() && !runsWhateverItIsGiven(program) &&
           fs::equivalent(fileOf(one, "exe"), fileOf(other, "exe"), error);
}

std::uint64_t processBirth(std::uint32_t process)
{
    const auto birth = birthOf(process);
    return birth ? birth->time : 0;
}

std::uint32_t processParent(std::uint32_t process)
{
    const auto birth = birthOf(process);
    return birth ? birth->parent : 0;
}

std::uint64_t processTime()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const auto ticks = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    return static_cast<std::uint64_t>(now.tv_sec) * ticks +
           static_cast<std::uint64_t>(now.tv_nsec) * ticks / 1'000'000'000;
}

bool wasBegunBy(std::uint32_t process, std::uint32_t ancestor, std::uint64_t since)
{
    auto birth = birthOf(process);
    if (!birth || birth->time < since) {
        return false;
    }
    for (int depth = 0; birth && depth < deepestProcess; ++depth) {
        if (isClipboardManager(processName(process))) {
            return false;
        }
        process = birth->parent;
        if (process == ancestor || process == 0) {
            return process != 0;
        }
        birth = birthOf(process);
    }
    return false;
}

} // namespace vorlin
