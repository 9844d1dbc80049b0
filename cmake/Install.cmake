# `cmake --install` and `cpack`: the template, the tool, their manual pages, the documentation and a CMake package.
set(template ${CMAKE_INSTALL_LIBDIR}/kestrav)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Kestrav)

install(DIRECTORY ${CMAKE_BINARY_DIR}/Launcher.app DESTINATION ${template} USE_SOURCE_PERMISSIONS)
install(TARGETS kestrav-bundle RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/docs/man/launcher.1 ${PROJECT_SOURCE_DIR}/docs/man/kestrav-bundle.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN man EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

include(CMakePackageConfigHelpers)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KestravConfig.cmake.in ${CMAKE_BINARY_DIR}/KestravConfig.cmake
  INSTALL_DESTINATION ${package}
  PATH_VARS template CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KestravConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KestravConfig.cmake ${CMAKE_BINARY_DIR}/KestravConfigVersion.cmake
        DESTINATION ${package})

set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_NAME kestrav)
set(CPACK_PACKAGE_VENDOR "Kestrav developers")
set(CPACK_PACKAGE_CONTACT "Kestrav developers <developers@example.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "native launcher for bundles of Java applications, and their maker")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(NOT APPLE)
  list(APPEND CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION java)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
