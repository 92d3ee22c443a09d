# The wheel's bill of materials (PEP 770), in the form of CycloneDX: what of others is compiled into its shared objects.

if(DEFINED SKBUILD_METADATA_DIR)
    file(STRINGS "${ORVANE_BOOST_INCLUDE_DIR}/boost/version.hpp" versionLine REGEX "^#define BOOST_LIB_VERSION ")
    string(REGEX MATCH "[0-9]+_[0-9]+(_[0-9]+)?" boostVersion "${versionLine}")
    string(REPLACE "_" "." boostVersion "${boostVersion}")
    set(sbom "${CMAKE_CURRENT_BINARY_DIR}/orvane.cdx.json")
    configure_file("${CMAKE_CURRENT_LIST_DIR}/sbom.cdx.json.in" "${sbom}" @ONLY)
    install(FILES "${sbom}" DESTINATION "${SKBUILD_METADATA_DIR}/sboms" COMPONENT python)
endif()
