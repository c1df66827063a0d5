# CPack's settings for scripts/package: a .zip for Windows; for Debian a .deb of the program and one of
# the library.
set(CPACK_PACKAGE_NAME moldex)
set(CPACK_PACKAGE_VENDOR "The MOLDEX maintainers")
set(CPACK_PACKAGE_CONTACT "The MOLDEX maintainers <maintainers@moldex.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/package)
set(CPACK_STRIP_FILES ON)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME win64)
  set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};moldex;program;/")
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME moldex)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
    "archiver for files, directories and shortcuts\nMOLDEX packs files, directories and shortcuts into one compressed archive (.QEL)\nand lists, verifies, extracts, appends to and merges such archives.")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libcscompr-dev)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
    "compressed streams, bytes in and bytes out\nlibcscompr compresses streams of bytes by LZH (RFC 1951) or LZC (LZW), a piece\nat a time, and restores them, for programs in C and C++.")
  # Debian wants man pages compressed. Other installations show them as they are, so this script
  # compresses the copy that CPack is about to pack.
  set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_BINARY_DIR}/compress_man_page.cmake)
  file(CONFIGURE OUTPUT ${CPACK_PRE_BUILD_SCRIPTS} @ONLY CONTENT [[
file(GLOB_RECURSE man_pages ${CPACK_TEMPORARY_DIRECTORY}/*.1)
if(man_pages)
  execute_process(COMMAND gzip -9n ${man_pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
]])
endif()

include(CPack)
