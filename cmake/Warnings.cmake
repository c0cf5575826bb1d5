# What every target of ours compiles with: all warnings, as errors.
set(VORLIN_WARNINGS
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast -Wcast-align -Wnull-dereference -Wimplicit-fallthrough
    -Werror)
set(VORLIN_CLANG_WARNINGS ${VORLIN_WARNINGS} -Wshadow)
add_library(vorlin_warnings INTERFACE)
target_compile_options(vorlin_warnings INTERFACE ${VORLIN_WARNINGS})
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A constructor's parameter may carry its member's name. g++ 12 reports null dereferences
    # inside its own library when it inlines std::function.
    target_compile_options(vorlin_warnings INTERFACE -Wshadow=local -Wno-null-dereference)
else()
    target_compile_options(vorlin_warnings INTERFACE -Wshadow)
endif()

# Under a sanitizer GCC takes code that it has instrumented for reads of uninitialised variables,
# and since version 13 for copies behind the end of them.
set(VORLIN_SANITIZED_WARNINGS)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND VORLIN_SANITIZED_WARNINGS -Wno-maybe-uninitialized)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13)
        list(APPEND VORLIN_SANITIZED_WARNINGS
            -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
    endif()
endif()
if(VORLIN_SANITIZE)
    target_compile_options(vorlin_warnings INTERFACE ${VORLIN_SANITIZED_WARNINGS})
endif()
