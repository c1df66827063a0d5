# The compression library for other programs, a component of its own ("library"): archive, header,
# cscompr.pc for pkg-config, find_package(cscompr) for CMake, an example. It stays usable when the
# folder that it is installed to is moved, unless CMAKE_INSTALL_LIBDIR or CMAKE_INSTALL_INCLUDEDIR was
# given as an absolute path.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(cscompr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/cscompr)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(cscompr_pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  string(REGEX REPLACE "[^/]+" ".." cscompr_pc_prefix ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  string(PREPEND cscompr_pc_prefix "\${pcfiledir}/")
endif()
# Appending an absolute path replaces what it is appended to.
cmake_path(APPEND cscompr_pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND cscompr_pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/cscompr.pc.in ${CMAKE_BINARY_DIR}/cscompr.pc @ONLY)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/cscompr-config.cmake.in
  ${CMAKE_BINARY_DIR}/cscompr-config.cmake INSTALL_DESTINATION ${cscompr_package_dir}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
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
