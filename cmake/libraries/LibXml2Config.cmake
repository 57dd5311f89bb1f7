# What libxslt is compiled with: the sysroot's headers of libxml2.
add_library(LibXml2::LibXml2 INTERFACE IMPORTED)
target_include_directories(LibXml2::LibXml2 SYSTEM INTERFACE "${CMAKE_SYSROOT}/usr/include/libxml2")
