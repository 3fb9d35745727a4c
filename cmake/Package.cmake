# What else is installed, and the packages that are made of it: DEB and TGZ, for Windows a ZIP.
include(CMakePackageConfigHelpers)

set(package_config ${CMAKE_INSTALL_LIBDIR}/cmake/qelm)
configure_package_config_file(cmake/package/qelm-config.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/package/qelm-config.cmake
    INSTALL_DESTINATION ${package_config})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/package/qelm-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/package/qelm-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/package/qelm-config-version.cmake
    DESTINATION ${package_config})
install(EXPORT qelm-targets NAMESPACE qelm:: DESTINATION ${package_config})

if(NOT WIN32)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
        OUTPUT_VARIABLE prefix_from_pkgconfig)
    foreach(name qelm qelm-host)
        configure_file(cmake/package/${name}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/package/${name}.pc @ONLY)
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/package/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    endforeach()
endif()

set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/zantor-obvelline-qx4-rk)
install(FILES README.md CHANGELOG.md NOTICES.md DESTINATION ${documents})
if(NOT WIN32)
    install(FILES NOTICES.md DESTINATION ${documents} RENAME copyright) # where Debian looks for it
endif()
install(DIRECTORY docs DESTINATION ${documents} FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY examples DESTINATION ${documents} FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp" PATTERN "*.py")

set(CPACK_PACKAGE_NAME zantor-obvelline-qx4-rk)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION}) # CPack's own guess leaves the fourth number out
set(CPACK_PACKAGE_VENDOR "Quellmark GmbH")
set(CPACK_PACKAGE_CONTACT "Quellmark GmbH <maintainers@invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Acquisition applet with virtual board and tools")
set(CPACK_PACKAGE_DESCRIPTION "The acquisition applet Zantor_Obvelline_Qx4_RK, the command-line
tool qelm that drives it, and a virtual board that stands in for the
hardware: parameters, pictures, triggers and shading correction without
a frame grabber. With headers for C
and C++, the host library and the Python package qelm.")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(WIN32)
    set(CPACK_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}_${PROJECT_VERSION}_windows_x86-64)
    set(CPACK_GENERATOR ZIP)
else()
    set(CPACK_PACKAGE_FILE_NAME ${CPACK_PACKAGE_NAME}_${PROJECT_VERSION}_linux_x86-64)
    set(CPACK_GENERATOR DEB TGZ)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_SECTION science)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/cmake/package/triggers)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
    set(CPACK_DEBIAN_PACKAGE_DEPENDS "python3 (>= 3.11)")
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS python3-numpy)
endif()
include(CPack)
