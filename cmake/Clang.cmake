# Builds with Clang, by the name of the version that this Debian has.
find_program(CLANG NAMES clang++-16 clang++-19 REQUIRED)
set(CMAKE_CXX_COMPILER ${CLANG})
