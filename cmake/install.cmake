# Everything that `cmake --install` copies, in components: "program" (the default), "library" (libcscompr),
# and "reader", "reader-dev" and "reader-python" (libmoldexread).

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

# The libraries for other programs: archive, header, NAME.pc for pkg-config, find_package(NAME) for CMake,
# an example. The installed folder may be moved, unless CMAKE_INSTALL_LIBDIR or CMAKE_INSTALL_INCLUDEDIR is
# an absolute path.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  string(REGEX REPLACE "[^/]+" ".." pc_prefix ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  string(PREPEND pc_prefix "\${pcfiledir}/")
endif()
# APPEND of an absolute path replaces the path before it.
cmake_path(APPEND pc_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})

# install_library_files(NAME COMPONENT): all but the library itself and its example.
function(install_library_files name component)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
  set(config ${CMAKE_BINARY_DIR}/${name}-config)
  set(from ${PROJECT_SOURCE_DIR}/cmake)
  configure_file(${from}/${name}.pc.in ${CMAKE_BINARY_DIR}/${name}.pc @ONLY)
  configure_package_config_file(${from}/${name}-config.cmake.in ${config}.cmake
    INSTALL_DESTINATION ${package_dir} PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
  write_basic_package_version_file(${config}-version.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_SOURCE_DIR}/src/${name}/${name}.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${name} COMPONENT ${component})
  install(FILES ${CMAKE_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
  install(FILES ${config}.cmake ${config}-version.cmake DESTINATION ${package_dir}
    COMPONENT ${component})
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION share/doc/lib${name}-dev RENAME copyright
    COMPONENT ${component})
endfunction()

set(examples ${PROJECT_SOURCE_DIR}/docs/examples)
install(TARGETS cscompr ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
if(NOT WIN32)
  install(TARGETS cscompr_shared LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
endif()
install_library_files(cscompr library)
install(FILES ${examples}/CMakeLists.txt ${examples}/roundtrip.c
  DESTINATION share/doc/libcscompr-dev/examples COMPONENT library)

# The reader: what programs need, what their makers need, and what is written in Python. On Windows all of
# it lies in a folder beside the program.
if(WIN32)
  install(TARGETS moldexread RUNTIME DESTINATION moldexread)
  install(FILES ${PROJECT_SOURCE_DIR}/src/moldexread/moldexread.h
    ${PROJECT_SOURCE_DIR}/src/moldexread/moldexread.def ${examples}/moldexread/list_entries.c
    DESTINATION moldexread)
elseif(TARGET moldexread)
  set(MOLDEX_PYTHON_FOLDER lib/python3/dist-packages CACHE STRING "Where Python looks for modules")
  install(TARGETS moldexread LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT reader
    NAMELINK_COMPONENT reader-dev)
  install(FILES ${CMAKE_BINARY_DIR}/libmoldexread.a DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT reader-dev)
  install_library_files(moldexread reader-dev)
  install(FILES ${examples}/moldexread/CMakeLists.txt ${examples}/moldexread/list_entries.c
    DESTINATION share/doc/libmoldexread-dev/examples COMPONENT reader-dev)
  install(FILES ${PROJECT_SOURCE_DIR}/python/moldex_archive.py
    DESTINATION ${MOLDEX_PYTHON_FOLDER} COMPONENT reader-python)
  install(PROGRAMS ${share}/moldex.extfs DESTINATION lib/mc/extfs.d RENAME uqel
    COMPONENT reader-python)
endif()
