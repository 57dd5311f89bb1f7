# Libraries of the sysroot, as imported targets.
find_package(EXPAT REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(LibXslt REQUIRED)
find_package(ICU REQUIRED COMPONENTS i18n uc data)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)

find_library(LIBFFI ffi REQUIRED)
find_path(LIBFFI_INCLUDE_DIR ffi.h REQUIRED)
add_library(LibFfi INTERFACE)
target_include_directories(LibFfi SYSTEM INTERFACE "${LIBFFI_INCLUDE_DIR}")
target_link_libraries(LibFfi INTERFACE "${LIBFFI}")

find_library(LIBEDIT edit REQUIRED)
add_library(LibEdit INTERFACE)
target_link_libraries(LibEdit INTERFACE "${LIBEDIT}")
