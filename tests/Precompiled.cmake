# Three quarters of a build are tests, and most of what each compiles is the same headers: compiled
# once, they are given to every test program.
# GNU's library has it in <thread> anyway.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(of_thread <stop_token>)
endif()
add_library(vorlin_test_headers STATIC Precompiled.cpp)
target_link_libraries(vorlin_test_headers PRIVATE vorlin_warnings GTest::gmock)
target_precompile_headers(vorlin_test_headers PRIVATE
    <algorithm> <array> <atomic> <chrono> <cmath> <coroutine> <cstdint> <cstring> <deque>
    <exception> <filesystem> <fstream> <functional> <map> <memory> <mutex> <numeric> <optional>
    <random> <set> <span> <sstream> <stdexcept> ${of_thread} <string> <string_view> <thread> <tuple>
    <utility> <variant> <vector> <gmock/gmock.h> <gtest/gtest.h>)

# Headers compiled one way serve only what is compiled the same way. Executables would not ask for
# position independence as libraries do, only some link what asks for threads; and the compiler
# cache needs to see what is included.
function(vorlin_options_of_test_headers target)
    target_compile_options(${target} PRIVATE -fPIC -pthread)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -fpch-preprocess)
    else() # or the cache would find that they are made anew each time
        target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
    endif()
endfunction()
vorlin_options_of_test_headers(vorlin_test_headers)

function(vorlin_give_test_headers target)
    target_precompile_headers(${target} REUSE_FROM vorlin_test_headers)
    vorlin_options_of_test_headers(${target})
endfunction()

# Gives them to every test program at and below `folder`.
function(vorlin_use_test_headers folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        get_target_property(links ${target} LINK_LIBRARIES)
        if(type STREQUAL "EXECUTABLE" AND links MATCHES "GTest::")
            vorlin_give_test_headers(${target})
        endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    foreach(below IN LISTS folders)
        vorlin_use_test_headers(${below})
    endforeach()
endfunction()
