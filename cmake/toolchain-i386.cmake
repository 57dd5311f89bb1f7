# 32-bit x86 with Debian's i386 libraries from build/sysroot (see cmake/sysroot).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
if(KOVA_CLANG)
  set(CMAKE_C_COMPILER clang)
  set(CMAKE_CXX_COMPILER clang++)
  list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KOVA_CLANG)
else()
  set(CMAKE_C_COMPILER gcc)
  set(CMAKE_CXX_COMPILER g++)
endif()

set(CMAKE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/sysroot")
get_filename_component(CMAKE_SYSROOT "${CMAKE_SYSROOT}" ABSOLUTE)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")

# One glibc serves the process: the sysroot's loader and an old-style RPATH, which libraries
# inherit, so that indirect ones (ICU) come from the sysroot too. The path of the loader is filled up with slashes: in
# every folder, and with ccache or without, the same commit gives the same bytes.
set(KOVA_LIBRARY_PATH "$ORIGIN/libraries:$ORIGIN/../sysroot/usr/lib/i386-linux-gnu:$ORIGIN/../sysroot/lib/i386-linux-gnu")
set(KOVA_LOADER "${CMAKE_SYSROOT}/lib/ld-linux.so.2")
string(LENGTH "${KOVA_LOADER}" length)
math(EXPR missing "250 - ${length}")
if(missing GREATER 0)
  string(REPEAT / ${missing} slashes)
endif()
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,--build-id=none,--disable-new-dtags,-rpath,'${KOVA_LIBRARY_PATH}' -Wl,--dynamic-linker,'${slashes}${KOVA_LOADER}'")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,--build-id=none,--disable-new-dtags")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-Wl,--build-id=none,--disable-new-dtags")
