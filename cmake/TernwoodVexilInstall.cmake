# What `cmake --install` installs and `find_package(TernwoodVexil)` finds.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(
  TARGETS ternwoodvexil_platform ternwoodvexil_ternwood ternwoodvexil_vexil ternwoodvexil_outline
  EXPORT TernwoodVexilTargets
  FILE_SET HEADERS
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ternwoodvexil)
install(
  EXPORT TernwoodVexilTargets
  NAMESPACE TernwoodVexil::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TernwoodVexil)
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/TernwoodVexilConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/TernwoodVexilConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TernwoodVexil)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TernwoodVexilConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TernwoodVexilConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TernwoodVexilConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TernwoodVexil)
if(TERNWOODVEXIL_APPS)
  install(TARGETS vexil-replay ternwood-monitor DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
