# Libraries of the sysroot, as imported targets.
find_package(LibXml2 REQUIRED)
find_package(LibXslt REQUIRED)
find_package(ICU REQUIRED COMPONENTS i18n uc data)

# Expat from its newest source (see cmake/expat), static and hidden.
execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/expat" "${CMAKE_SOURCE_DIR}/build/expat" COMMAND_ERROR_IS_FATAL ANY)
set(EXPAT_SHARED_LIBS OFF)
foreach(part BUILD_DOCS BUILD_EXAMPLES BUILD_PKGCONFIG BUILD_TESTS BUILD_TOOLS ENABLE_INSTALL)
  set(EXPAT_${part} OFF)
endforeach()
set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
add_subdirectory("${CMAKE_SOURCE_DIR}/build/expat/source/expat" "${CMAKE_BINARY_DIR}/expat" EXCLUDE_FROM_ALL SYSTEM)
target_compile_options(expat PRIVATE "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/="
  "$<$<BOOL:${KOVA_SANITIZE}>:-fsanitize=address;-fno-omit-frame-pointer>"
  $<$<BOOL:${KOVA_FUZZ}>:-fsanitize=fuzzer-no-link>)
include(cmake/expat_profile.cmake)

find_library(LIBFFI ffi REQUIRED)
find_path(LIBFFI_INCLUDE_DIR ffi.h REQUIRED)
add_library(LibFfi INTERFACE)
target_include_directories(LibFfi SYSTEM INTERFACE "${LIBFFI_INCLUDE_DIR}")
target_link_libraries(LibFfi INTERFACE "${LIBFFI}")

# Static, with what it stands on: only the dialogue needs them, and four libraries fewer are looked for at each start.
add_library(LibEdit INTERFACE)
foreach(library IN ITEMS edit tinfo bsd md)
  find_library(LIB${library} lib${library}.a REQUIRED)
  target_link_libraries(LibEdit INTERFACE "${LIB${library}}")
endforeach()

# Static: a few hash functions.
find_library(LIBMD libmd.a REQUIRED)
add_library(LibMd INTERFACE)
target_link_libraries(LibMd INTERFACE "${LIBMD}")

# The command's allocator: trees of many small nodes take four fifths of the time that they take with glibc's. The C++
# library comes before it, for its operator new throws where that of mimalloc aborts.
find_library(MIMALLOC libmimalloc.so.2 REQUIRED)
add_library(MiMalloc INTERFACE)
target_link_options(MiMalloc INTERFACE -Wl,--no-as-needed -lstdc++ "${MIMALLOC}" -Wl,--as-needed)
