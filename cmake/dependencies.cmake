# Libraries of the sysroot, as imported targets.
find_package(EXPAT REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(LibXslt REQUIRED)
find_package(ICU REQUIRED COMPONENTS i18n uc data)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)

# LibXslt has no imported targets in this CMake.
add_library(LibXslt INTERFACE)
target_include_directories(LibXslt SYSTEM INTERFACE "${LIBXSLT_INCLUDE_DIR}")
target_link_libraries(LibXslt INTERFACE "${LIBXSLT_LIBRARIES}" "${LIBXSLT_EXSLT_LIBRARY}" LibXml2::LibXml2)

find_library(LIBFFI ffi REQUIRED)
find_path(LIBFFI_INCLUDE_DIR ffi.h REQUIRED)
add_library(LibFfi INTERFACE)
target_include_directories(LibFfi SYSTEM INTERFACE "${LIBFFI_INCLUDE_DIR}")
target_link_libraries(LibFfi INTERFACE "${LIBFFI}")

find_library(LIBEDIT edit REQUIRED)
add_library(LibEdit INTERFACE)
target_link_libraries(LibEdit INTERFACE "${LIBEDIT}")
