# Lays the pure Python packages beside the extension in the build tree. In a wheel they are put there by the
# packaging backend, which knows them from pyproject.toml.

foreach(package IN ITEMS orvane orvane_carriers ovexceptions orvanemultidimarrayforpython-stubs)
    set(folder "${CMAKE_CURRENT_SOURCE_DIR}/python/${package}")
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE "${folder}" "${folder}/*.py" "${folder}/*.pyi"
         "${folder}/py.typed")
    foreach(source IN LISTS sources)
        cmake_path(GET source PARENT_PATH parent)
        file(MAKE_DIRECTORY "${ORVANE_PACKAGE_DIR}/${package}/${parent}")
        file(CREATE_LINK "${folder}/${source}" "${ORVANE_PACKAGE_DIR}/${package}/${source}" SYMBOLIC COPY_ON_ERROR)
    endforeach()
endforeach()
