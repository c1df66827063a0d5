# Tests that run on Windows themselves, under Wine: included by the cross build alone, and built on
# demand (target windows_tests).
include(${PROJECT_SOURCE_DIR}/tests/googletest.cmake)

set(platform ${PROJECT_SOURCE_DIR}/tests/platform)
add_executable(windows_contract EXCLUDE_FROM_ALL
  only_windows_test_win32.cpp ${PROJECT_SOURCE_DIR}/tests/support/tree.cpp
  ${platform}/name_rules_test.cpp
  ${platform}/windows_records_test.cpp ${platform}/file_handle_test.cpp
  ${platform}/file_services_test.cpp ${platform}/buffered_file_test.cpp
  ${platform}/directory_test.cpp)
target_include_directories(windows_contract PRIVATE ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(windows_contract PRIVATE platform codepage moldex_compile_options GTest::gtest_main)

add_executable(run_in EXCLUDE_FROM_ALL run_in_win32.cpp)
target_link_libraries(run_in PRIVATE moldex_compile_options ole32 uuid)

# The program without its manifest, which the system gives its own ANSI code page.
add_executable(moldex_ansi EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/src/driver/main.cpp)
target_link_libraries(moldex_ansi PRIVATE moldex_compile_options driver)

# Programs in C that load moldexread.dll; installed/reader.sh runs them.
enable_language(C)
foreach(program docs/examples/moldexread/list_entries tests/installed/reader_test)
  cmake_path(GET program FILENAME name)
  add_executable(${name} EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/${program}.c)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PRIVATE moldexread -static pthread)
  list(APPEND readers ${name})
endforeach()

add_custom_target(windows_tests DEPENDS windows_contract run_in moldex_ansi ${readers})
