# GoogleTest from its sources, for builds that are not for this machine: Debian has no other build of it.
block()
  set(INSTALL_GTEST OFF)
  set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)  # the warnings are not ours
  add_subdirectory(/usr/src/googletest/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endblock()
