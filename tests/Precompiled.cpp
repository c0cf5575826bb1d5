// A library needs a source; what the headers are compiled for is in Precompiled.cmake.
