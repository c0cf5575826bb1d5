#pragma once

#include "Platform/Linux/Environment.h"
#include "Ports/LoginItem.h"

#include <filesystem>
#include <string>

namespace vorlin {

/// The program among what an XDG desktop starts: a file of the person's autostart folder, which
/// desktops and their settings also change or hide.
class XDGLoginItem final : public LoginItem {
public:
    static constexpr const char* fileName = "org.vorlin.Vorlin.desktop";

    /// `program`: the absolute path of what is to be started.
    XDGLoginItem(const Environment& environment, std::filesystem::path program);

    bool isEnabled() const override;
    /// The file is written as a whole or not at all. Disabling removes it.
    void setEnabled(bool enabled) override;

    /// The value of a desktop entry's `Exec` key that starts `program` without arguments.
    static std::string execLine(const std::string& program);

private:
    std::filesystem::path file;
    std::filesystem::path program;
};

} // namespace vorlin
