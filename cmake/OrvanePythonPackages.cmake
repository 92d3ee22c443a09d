# Lays the pure Python packages beside the extension in the build tree. In a wheel they are put there by the
# packaging backend, which knows them from pyproject.toml.

foreach(package IN ITEMS orvane ovexceptions orvanemultidimarrayforpython-stubs)
    file(GLOB sources CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}/python/${package}"
         "${CMAKE_CURRENT_SOURCE_DIR}/python/${package}/*.py*" "${CMAKE_CURRENT_SOURCE_DIR}/python/${package}/py.typed")
    file(MAKE_DIRECTORY "${ORVANE_PACKAGE_DIR}/${package}")
    foreach(source IN LISTS sources)
        file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}/python/${package}/${source}"
             "${ORVANE_PACKAGE_DIR}/${package}/${source}" SYMBOLIC COPY_ON_ERROR)
    endforeach()
endforeach()
