# Builds with Clang and its own C++ library, which is a Mac's, too, with all that it can check.
# GoogleTest is built from its sources then: the packaged one is made for the other library.
find_program(CLANG clang++-19 REQUIRED)
set(CMAKE_CXX_COMPILER ${CLANG})
set(CMAKE_CXX_FLAGS_INIT
    "-stdlib=libc++ -D_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_DEBUG")
set(VORLIN_LIBCXX ON)
set(VORLIN_GTEST_SOURCES /usr/src/googletest)
