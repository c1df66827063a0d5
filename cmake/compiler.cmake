# Warnings, optimisation and sanitizers for every target of the project. The developers' presets make
# warnings errors. Other builds do not, because other compilers and flags have other warnings.
add_library(moldex_compile_options INTERFACE)
target_include_directories(moldex_compile_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(moldex_compile_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-qual -Wformat=2 -Wundef
  $<$<CONFIG:Release>:-O2>)

# 64-bit file positions and times, where the system has a choice.
target_compile_definitions(moldex_compile_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

if(WIN32)
  # The C library of 32-bit Windows ends its times in 2038.
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    message(FATAL_ERROR "MOLDEX needs 64-bit Windows; this compiler makes programs for 32 bits")
  endif()
  # The interface of Windows 10, without the parts that a console program does not need.
  target_compile_definitions(moldex_compile_options INTERFACE
    WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
  # One file that runs wherever it is copied to.
  target_link_options(moldex_compile_options INTERFACE -static)
endif()

if(MOLDEX_SANITIZE)
  target_compile_options(moldex_compile_options INTERFACE
    -O1 -g1 -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize-recover=all)
  target_link_options(moldex_compile_options INTERFACE -fsanitize=address,undefined)
endif()

if(MOLDEX_SANITIZE_THREADS)
  target_compile_options(moldex_compile_options INTERFACE -O1 -g1 -fno-omit-frame-pointer -fsanitize=thread)
  target_link_options(moldex_compile_options INTERFACE -fsanitize=thread)
endif()

if(MOLDEX_FUZZ)
  target_compile_options(moldex_compile_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Each module of src/ that calls the operating system has one file per system.
if(WIN32)
  set(MOLDEX_SYSTEM win32)
else()
  set(MOLDEX_SYSTEM posix)
endif()
