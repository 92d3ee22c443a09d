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

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow
    "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>")

# Against what an overrun could be made of: addresses of functions are written once, when the object is loaded; returns are
# guarded; calls of the C library are held to the sizes that the compiler knows. The last needs an optimised build; the
# sanitizers look closer themselves; and who packages may have asked for more.
add_link_options("LINKER:-z,relro,-z,now")
add_compile_options(-fstack-protector-strong)
if(NOT ORVANE_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
    add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
endif()

if(ORVANE_SANITIZE)
    # What a test needs that runs inside the interpreter, which is not instrumented itself: the runtimes before all
    # else, Python's objects in blocks of their own, and no judgement on leaks, as an interpreter keeps memory to its end.
    if(ORVANE_SANITIZE STREQUAL "thread")
        set(sanitizers -fsanitize=thread)
        set(runtimes tsan)
        # What native modules inline of the headers is judged too.
        set(settings "CXXFLAGS=-fsanitize=thread -g1" "LDFLAGS=-fsanitize=thread"
            TSAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=8192)
    else()
        set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined)
        set(runtimes asan ubsan)
        set(settings ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=8192:detect_leaks=0)
    endif()
    add_compile_options(${sanitizers} -fno-omit-frame-pointer -g1)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
    add_link_options(${sanitizers})

    foreach(runtime IN LISTS runtimes)
        execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=lib${runtime}.so
                        OUTPUT_VARIABLE runtimeFile OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        if(NOT IS_ABSOLUTE "${runtimeFile}")
            message(FATAL_ERROR "The sanitizers need GCC with its library lib${runtime}.so")
        endif()
        list(APPEND runtimeFiles "${runtimeFile}")
    endforeach()
    list(JOIN runtimeFiles ":" preloaded)
    set(ORVANE_PYTHON_TEST_ENVIRONMENT "LD_PRELOAD=${preloaded}" PYTHONMALLOC=malloc ${settings} ORVANE_SANITIZED=1)
    list(JOIN ORVANE_PYTHON_TEST_ENVIRONMENT "\n" lines)
    file(WRITE "${CMAKE_BINARY_DIR}/python-test-environment" "${lines}\n")
endif()
