# CPack's settings for the .zip for Windows. debian/ has the packages for Debian; scripts/package makes all.
if(NOT WIN32)
  return()
endif()

set(CPACK_PACKAGE_NAME moldex)
set(CPACK_PACKAGE_VENDOR "The MOLDEX maintainers")
set(CPACK_PACKAGE_CONTACT "The MOLDEX maintainers <maintainers@moldex.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/package)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR ZIP)
set(CPACK_SYSTEM_NAME win64)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};moldex;program;/")
include(CPack)
