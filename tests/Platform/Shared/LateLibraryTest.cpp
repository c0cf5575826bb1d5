#include "Platform/Shared/LateLibrary.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace vorlin {

namespace {

/// A library of the system's; it needs the C library.
constexpr const char* mathematics = "libm.so.6";

} // namespace

TEST(LateLibraryTest, callsWhatTheLibraryHas)
{
    const LateLibrary library(mathematics);
    double (*const cosine)(double) = library.find("cos");
    EXPECT_EQ(cosine(0), 1);
}

TEST(LateLibraryTest, findsWhatALibraryThatItNeedsHas)
{
    const LateLibrary library(mathematics);
    int (*const absolute)(int) = library.find("abs");
    EXPECT_EQ(absolute(-3), 3);
}

TEST(LateLibraryTest, saysInOneLineWhichLibraryIsMissing)
{
    try {
        const LateLibrary library("libnothing.so.0");
        FAIL() << "there is such a library";
    } catch (const std::runtime_error& reason) {
        const std::string line = reason.what();
        EXPECT_NE(line.find("libnothing.so.0"), std::string::npos) << line;
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
}

TEST(LateLibraryTest, saysInOneLineWhatALibraryLacks)
{
    const LateLibrary library(mathematics);
    try {
        library.find("no_such_function");
        FAIL() << "there is such a function";
    } catch (const std::runtime_error& reason) {
        const std::string line = reason.what();
        EXPECT_NE(line.find("no_such_function"), std::string::npos) << line;
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
}

} // namespace vorlin
