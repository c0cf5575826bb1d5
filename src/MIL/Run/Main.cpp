#include "MIL/Run/Commands.h"

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
        std::fprintf(stderr, "milrun: %s\n", error.what());
        return 1;
    }
}
