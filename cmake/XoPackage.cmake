# Installing XoOsBase for other projects: the CMake package (from an install prefix and
# from the build tree), pkg-config, and the Debian and Windows packages.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(XO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/XoOsBase)

install(TARGETS XoOsBase EXPORT XoOsBaseTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
    NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/XoOsBase)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/XoOsBase COMPONENT development)
install(EXPORT XoOsBaseTargets NAMESPACE XoOsBase:: DESTINATION ${XO_CMAKE_DIR}
  COMPONENT development)
export(EXPORT XoOsBaseTargets NAMESPACE XoOsBase::
  FILE ${PROJECT_BINARY_DIR}/XoOsBaseTargets.cmake)

# While the major number is 0 a new minor version may break clients, so only the same
# minor version answers a request (0.2 takes 0.2.x, not 0.3).
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(XO_COMPATIBILITY SameMinorVersion)
else()
  set(XO_COMPATIBILITY SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/XoOsBaseConfigVersion.cmake
  COMPATIBILITY ${XO_COMPATIBILITY})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/XoOsBaseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/XoOsBaseConfig.cmake INSTALL_DESTINATION ${XO_CMAKE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/XoOsBaseConfig.cmake
  ${PROJECT_BINARY_DIR}/XoOsBaseConfigVersion.cmake
  DESTINATION ${XO_CMAKE_DIR} COMPONENT development)

# The prefix is found from the file's own place, so the tree may be installed anywhere.
file(RELATIVE_PATH XO_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" XO_PC_TO_PREFIX "${XO_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/xoosbase.pc.in ${PROJECT_BINARY_DIR}/xoosbase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/xoosbase.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(CPACK_PACKAGE_NAME xoosbase)
set(CPACK_PACKAGE_VENDOR "XoOsBase developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Operating-system base library of the CAD application")
set(CPACK_PACKAGE_CONTACT "XoOsBase developers <xoosbase@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_ALL runtime development)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME xoosbase)
  # Opened at run time for the monitor and display-scale queries, which fail without them.
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "libx11-6, libxrandr2")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME xoosbase-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "xoosbase (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
endif()
include(CPack)
