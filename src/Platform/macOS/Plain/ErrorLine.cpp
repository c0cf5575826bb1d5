#include "Platform/macOS/Plain/ErrorLine.h"

namespace vorlin {

std::string errorLine(const std::string& said)
{
    const auto begin = said.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) {
        return "The operation could not be completed.";
    }
    const auto line = said.substr(begin, said.find_first_of("\r\n", begin) - begin);
    return line.substr(0, line.find_last_not_of(" \t") + 1);
}

} // namespace vorlin
