# Everything that `cmake --install` copies, in two components: "program" (the default) and "library".

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME program)
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(MOLDEX_ZSH_FOLDER share/zsh/site-functions CACHE STRING "Where zsh looks for completions")

# The program. On Windows everything lies in one folder; elsewhere each file lies where it is looked for.
set(share ${PROJECT_SOURCE_DIR}/share)
if(WIN32)
  set(pages .)
  install(TARGETS moldex RUNTIME DESTINATION .)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${share}/moldex.bash ${share}/moldex.ps1 DESTINATION .)
  # Windows shows no man pages, but it has a browser.
  find_program(MOLDEX_MANDOC mandoc)
  if(MOLDEX_MANDOC)
    set(man_page_html ${CMAKE_BINARY_DIR}/moldex.html)
    add_custom_command(OUTPUT ${man_page_html} DEPENDS ${share}/moldex.1
      COMMAND ${MOLDEX_MANDOC} -T html ${share}/moldex.1 > ${man_page_html})
    add_custom_target(man_page_html ALL DEPENDS ${man_page_html})
    install(FILES ${man_page_html} DESTINATION . OPTIONAL)
  endif()
else()
  set(pages share/doc/moldex)
  install(TARGETS moldex RUNTIME DESTINATION bin)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${pages} RENAME copyright)
  install(FILES ${share}/moldex.1 DESTINATION share/man/man1)
  install(FILES ${share}/moldex.bash DESTINATION share/bash-completion/completions RENAME moldex)
  install(FILES ${share}/moldex.zsh DESTINATION ${MOLDEX_ZSH_FOLDER} RENAME _moldex)
  install(FILES ${share}/moldex.fish DESTINATION share/fish/vendor_completions.d)
  # Desktops read share/mime. file(1) has no folder that packages may add to, so its file lies with
  # the program's own; docs/manual.md says how file finds it.
  install(FILES ${share}/moldex.ps1 ${share}/moldex.magic DESTINATION share/moldex)
  install(FILES ${share}/moldex-mime.xml DESTINATION share/mime/packages RENAME moldex.xml)
endif()

# The pages keep their folders, so that the links between them work.
foreach(page README CHANGELOG CONTRIBUTING SECURITY)
  install(FILES ${PROJECT_SOURCE_DIR}/${page}.md DESTINATION ${pages})
endforeach()
file(GLOB docs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md ${PROJECT_SOURCE_DIR}/docs/*.svg)
install(FILES ${docs} DESTINATION ${pages}/docs)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/docs/examples/pack_in_parts.sh
  DESTINATION ${pages}/docs/examples)

# The library for other programs: archive, header, cscompr.pc for pkg-config, find_package(cscompr) for
# CMake, an example. The installed folder may be moved, unless CMAKE_INSTALL_LIBDIR or
# CMAKE_INSTALL_INCLUDEDIR is an absolute path.
set(cscompr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/cscompr)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(cscompr_pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  string(REGEX REPLACE "[^/]+" ".." cscompr_pc_prefix ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  string(PREPEND cscompr_pc_prefix "\${pcfiledir}/")
endif()
# APPEND of an absolute path replaces the path before it.
cmake_path(APPEND cscompr_pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND cscompr_pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/cscompr.pc.in ${CMAKE_BINARY_DIR}/cscompr.pc @ONLY)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/cscompr-config.cmake.in
  ${CMAKE_BINARY_DIR}/cscompr-config.cmake INSTALL_DESTINATION ${cscompr_package_dir}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cscompr-config-version.cmake
  COMPATIBILITY SameMajorVersion)

set(library_doc share/doc/libcscompr-dev)
install(TARGETS cscompr ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
if(NOT WIN32)
  install(TARGETS cscompr_shared LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/src/cscompr/cscompr.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/cscompr COMPONENT library)
install(FILES ${CMAKE_BINARY_DIR}/cscompr.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT library)
install(FILES ${CMAKE_BINARY_DIR}/cscompr-config.cmake
  ${CMAKE_BINARY_DIR}/cscompr-config-version.cmake
  DESTINATION ${cscompr_package_dir} COMPONENT library)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${library_doc} RENAME copyright COMPONENT library)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/examples DESTINATION ${library_doc} COMPONENT library
  PATTERN *.sh EXCLUDE)
