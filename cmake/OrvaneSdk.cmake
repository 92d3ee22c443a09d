# What other native modules need to be built against the package, beside the library: headers and a CMake package. It
# is laid out under `orvane/` in the build tree as in the wheel.

set(sdkHeaders "${CMAKE_CURRENT_SOURCE_DIR}/sdk/include/orvane")
set(clientHeaders "${CMAKE_CURRENT_SOURCE_DIR}/src/data_client")
set(libraryHeaders "${CMAKE_CURRENT_SOURCE_DIR}/data_array/include/orvane_data_array")

# orvane_add_sdk_files(<source folder> <folder in the package> <pattern>...)
function(orvane_add_sdk_files source destination)
    list(TRANSFORM ARGN PREPEND "${source}/" OUTPUT_VARIABLE patterns)
    file(GLOB files CONFIGURE_DEPENDS RELATIVE "${source}" ${patterns})
    file(MAKE_DIRECTORY "${ORVANE_PACKAGE_DIR}/orvane/${destination}")
    foreach(file IN LISTS files)
        file(CREATE_LINK "${source}/${file}" "${ORVANE_PACKAGE_DIR}/orvane/${destination}/${file}"
             SYMBOLIC COPY_ON_ERROR)
        install(FILES "${source}/${file}" DESTINATION "orvane/${destination}" COMPONENT python)
    endforeach()
endfunction()

orvane_add_sdk_files("${sdkHeaders}" include/orvane *.h *.hpp)
orvane_add_sdk_files("${sdkHeaders}/python" include/orvane/python *.hpp)
orvane_add_sdk_files("${CMAKE_CURRENT_SOURCE_DIR}/src/vocabulary" include/orvane/python ending_thread.hpp
                     pending_error.hpp)
orvane_add_sdk_files("${clientHeaders}" include/orvane/data *.hpp)
orvane_add_sdk_files("${libraryHeaders}" include/orvane_data_array *.hpp)
orvane_add_sdk_files("${CMAKE_CURRENT_SOURCE_DIR}/sdk/cmake" cmake *.cmake)

include(CMakePackageConfigHelpers)
write_basic_package_version_file("${ORVANE_PACKAGE_DIR}/orvane/cmake/OrvaneConfigVersion.cmake"
                                 VERSION "${PROJECT_VERSION}" COMPATIBILITY SameMajorVersion)
install(FILES "${ORVANE_PACKAGE_DIR}/orvane/cmake/OrvaneConfigVersion.cmake"
        DESTINATION orvane/cmake COMPONENT python)

# The extension fills the very table that the C header describes.
target_include_directories(orvane_python_objects PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}/sdk/include")
