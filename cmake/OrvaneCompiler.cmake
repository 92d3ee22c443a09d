# How every target of the project is compiled: language level, warnings, visibility, build type, sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(ORVANE_CCACHE ccache)
mark_as_advanced(ORVANE_CCACHE)
if(ORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${ORVANE_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)

if(ORVANE_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined)
    add_compile_options(${sanitizers} -fno-omit-frame-pointer -g1)
    add_link_options(${sanitizers})
endif()
