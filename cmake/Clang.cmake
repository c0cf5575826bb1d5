# Builds with Clang, by the name of the version that this Debian has.
find_program(CLANG NAMES clang++-16 clang++-19 REQUIRED)
set(CMAKE_CXX_COMPILER ${CLANG})
find_program(CLANG_C NAMES clang-16 clang-19 REQUIRED) # what generators write is C
set(CMAKE_C_COMPILER ${CLANG_C})
