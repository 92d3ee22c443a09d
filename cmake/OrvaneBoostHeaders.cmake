# Offers the target Orvane::BoostHeaders. Only headers of Boost are used, so neither its libraries nor its CMake
# packages are asked for: the system's headers where it has them, else those of the Python package
# `libboost-headers`, a build requirement of the wheel.

option(ORVANE_SYSTEM_BOOST "Look for Boost's headers on the system before the Python package" ON)

set(neededHeader boost/numeric/conversion/cast.hpp)

# Wheels of several interpreters may share one build tree; a package's folder that has gone is looked for anew.
if(ORVANE_BOOST_INCLUDE_DIR AND NOT EXISTS "${ORVANE_BOOST_INCLUDE_DIR}/${neededHeader}")
    unset(ORVANE_BOOST_INCLUDE_DIR CACHE)
endif()

if(ORVANE_SYSTEM_BOOST)
    find_path(ORVANE_BOOST_INCLUDE_DIR "${neededHeader}" DOC "The folder that holds Boost's headers")
endif()

if(NOT ORVANE_BOOST_INCLUDE_DIR)
    execute_process(
        COMMAND "${Python_EXECUTABLE}" -c
                "from importlib.util import find_spec; print(find_spec('libboost_headers').submodule_search_locations[0])"
        OUTPUT_VARIABLE packageDir
        OUTPUT_STRIP_TRAILING_WHITESPACE
        ERROR_QUIET)
    unset(ORVANE_BOOST_INCLUDE_DIR CACHE)
    find_path(ORVANE_BOOST_INCLUDE_DIR "${neededHeader}" PATHS "${packageDir}/include" NO_DEFAULT_PATH
              DOC "The folder that holds Boost's headers")
endif()

if(NOT ORVANE_BOOST_INCLUDE_DIR)
    message(FATAL_ERROR "Boost's headers were not found. Install them from the system (on Debian: libboost-dev), or "
                        "`pip install libboost-headers` for ${Python_EXECUTABLE}, or set ORVANE_BOOST_INCLUDE_DIR.")
endif()
message(STATUS "Boost headers: ${ORVANE_BOOST_INCLUDE_DIR}")

add_library(OrvaneBoostHeaders INTERFACE)
add_library(Orvane::BoostHeaders ALIAS OrvaneBoostHeaders)
target_include_directories(OrvaneBoostHeaders SYSTEM INTERFACE "${ORVANE_BOOST_INCLUDE_DIR}")
# What containers throw for want of memory is std::bad_alloc and std::length_error, which become Python's MemoryError.
target_compile_definitions(OrvaneBoostHeaders INTERFACE BOOST_CONTAINER_USE_STD_EXCEPTIONS)
