# The compression library for other programs, a component of its own ("library"): archive, header,
# cscompr.pc for pkg-config, find_package(cscompr) for CMake, an example. It stays usable when the
# folder that it is installed to is moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(cscompr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/cscompr)
string(REGEX REPLACE "[^/]+" ".." cscompr_prefix_from_pc ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(${CMAKE_CURRENT_LIST_DIR}/cscompr.pc.in ${CMAKE_BINARY_DIR}/cscompr.pc @ONLY)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/cscompr-config.cmake.in
  ${CMAKE_BINARY_DIR}/cscompr-config.cmake INSTALL_DESTINATION ${cscompr_package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cscompr-config-version.cmake
  COMPATIBILITY SameMajorVersion)

install(TARGETS cscompr ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(FILES ${PROJECT_SOURCE_DIR}/src/cscompr/cscompr.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/cscompr COMPONENT library)
install(FILES ${CMAKE_BINARY_DIR}/cscompr.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT library)
install(FILES ${CMAKE_BINARY_DIR}/cscompr-config.cmake
  ${CMAKE_BINARY_DIR}/cscompr-config-version.cmake
  DESTINATION ${cscompr_package_dir} COMPONENT library)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION share/doc/libcscompr-dev RENAME copyright COMPONENT library)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/examples
  DESTINATION share/doc/libcscompr-dev COMPONENT library)
