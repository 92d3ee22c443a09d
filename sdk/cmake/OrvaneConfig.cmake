# find_package(Orvane): what native modules and programs need to work with Orvane's arrays. This file stands in the
# Python package, whose folder `python -m orvane --cmake-dir` prints.
#
#   Orvane::Capsule     the C header of the capsule; nothing is linked
#   Orvane::DataClient  the C++ classes of orvane/data.hpp with the data-array library; needs no Python
#   Orvane::Python      the C++ headers for extension modules: both of the above
#
#   orvane_set_library_path(<target>...)  lets installed modules find the library (see there)

get_filename_component(_orvaneRoot "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)

if(NOT TARGET Orvane::Capsule)
    add_library(Orvane::DataArray SHARED IMPORTED)
    set_target_properties(Orvane::DataArray PROPERTIES
        IMPORTED_LOCATION "${_orvaneRoot}/lib/libOrvaneDataArray.so"
        IMPORTED_SONAME libOrvaneDataArray.so)

    add_library(Orvane::Capsule INTERFACE IMPORTED)
    target_include_directories(Orvane::Capsule INTERFACE "${_orvaneRoot}/include")

    add_library(Orvane::DataClient INTERFACE IMPORTED)
    target_include_directories(Orvane::DataClient INTERFACE "${_orvaneRoot}/include")
    target_compile_features(Orvane::DataClient INTERFACE cxx_std_20)
    target_link_libraries(Orvane::DataClient INTERFACE Orvane::DataArray)

    add_library(Orvane::Python INTERFACE IMPORTED)
    target_link_libraries(Orvane::Python INTERFACE Orvane::Capsule Orvane::DataClient)
endif()

# Installed modules that stand in the same site-packages folder as `orvane`, or in a package of their own beside it,
# find the library without `orvane` having been imported first. The path is a RUNPATH, so that LD_LIBRARY_PATH can put
# another build of the library in place.
function(orvane_set_library_path)
    foreach(target IN LISTS ARGN)
        set_property(TARGET ${target} APPEND PROPERTY INSTALL_RPATH "$ORIGIN/orvane/lib" "$ORIGIN/../orvane/lib")
        target_link_options(${target} PRIVATE LINKER:--enable-new-dtags)
    endforeach()
endfunction()

unset(_orvaneRoot)
