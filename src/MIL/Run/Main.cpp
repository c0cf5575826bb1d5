#include "MIL/Run/Commands.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int main(int count, char** values)
{
    const std::vector<std::string> arguments(values + (count > 0 ? 1 : 0), values + count);
    try {
        vorlin::mil::runCommand(arguments);
        return 0;
    } catch (const std::exception& error) {
        std::string line = error.what(); // may quote a text that goes over several lines
        std::replace_if(
            line.begin(), line.end(), [](unsigned char c) { return c < ' '; }, ' ');
        std::fprintf(stderr, "milrun: %s\n", line.c_str());
        return 1;
    }
}
