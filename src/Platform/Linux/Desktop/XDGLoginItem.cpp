#include "Platform/Linux/Desktop/XDGLoginItem.h"

#include <QFile>
#include <QSaveFile>

#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace vorlin {

namespace {

/// No desktop entry is longer; bounds what is read of a file that somebody else may have put there.
constexpr std::size_t mostLines = 2000;

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\r");
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The keys of the group that says what to start.
std::map<std::string, std::string, std::less<>> entryOf(const std::filesystem::path& file)
{
    std::map<std::string, std::string, std::less<>> result;
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        return result; // reading a pipe would wait
    }
    std::ifstream stream(file);
    bool inside = false;
    std::string line;
    for (std::size_t count = 0; count < mostLines && std::getline(stream, line); ++count) {
        const auto text = trimmed(line);
        const auto equals = text.find('=');
        if (text.starts_with('[')) {
            inside = text == "[Desktop Entry]";
        } else if (inside && !text.starts_with('#') && equals != std::string_view::npos) {
            result.emplace(trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1)));
        }
    }
    return result;
}

/// As a value of a desktop entry is written.
std::string escapedValue(std::string_view text)
{
    std::string result;
    for (const char each : text) {
        switch (each) {
        case '\\': result += "\\\\"; break;
        case '\n': result += "\\n"; break;
        case '\r': result += "\\r"; break;
        case '\t': result += "\\t"; break;
        default: result += each;
        }
    }
    return result;
}

} // namespace

XDGLoginItem::XDGLoginItem(const Environment& environment, std::filesystem::path program)
    : file(configurationFolder(environment) / "autostart" / fileName), program(std::move(program))
{
}

std::string XDGLoginItem::execLine(const std::string& program)
{
    std::string quoted = "\"";
    for (const char each : program) {
        if (std::string_view("\"`$\\").find(each) != std::string_view::npos) {
            quoted += '\\';
        }
        quoted += each;
        if (each == '%') {
            quoted += '%'; // one alone begins a field that the desktop fills
        }
    }
    return escapedValue(quoted + '"');
}

bool XDGLoginItem::isEnabled() const
{
    const auto entry = entryOf(file);
    const auto is = [&](std::string_view key, std::string_view value) {
        const auto found = entry.find(key);
        return found != entry.end() && found->second == value;
    };
    return entry.contains("Exec") && !is("Hidden", "true") &&
           !is("X-GNOME-Autostart-enabled", "false");
}

void XDGLoginItem::setEnabled(bool enabled)
{
    std::error_code error;
    if (!enabled) {
        std::filesystem::remove(file, error);
        if (error) {
            throw std::runtime_error("Opening at login cannot be switched off: " + error.message() +
                                     ".");
        }
        return;
    }
    std::filesystem::create_directories(file.parent_path(), error);
    QSaveFile output(QString::fromStdString(file.string()));
    const std::string text = "[Desktop Entry]\n"
                             "Type=Application\n"
                             "Name=Vorlin\n"
                             "Comment=Private voice dictation\n"
                             "Exec=" +
                             execLine(program.string()) +
                             "\n"
                             "TryExec=" + // or a removed program is missed at each login
                             escapedValue(program.string()) +
                             "\n"
                             "Terminal=false\n"
                             "X-GNOME-Autostart-enabled=true\n";
    if (error || !output.open(QIODevice::WriteOnly) ||
        output.write(text.data(), static_cast<qint64>(text.size())) < 0 || !output.commit()) {
        const auto why = error ? error.message() : output.errorString().toStdString();
        throw std::runtime_error("Opening at login cannot be switched on: " + why + ".");
    }
}

} // namespace vorlin
