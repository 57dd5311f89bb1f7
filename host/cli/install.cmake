# What `make install` installs: the command, its bundle and the libraries both need, so that nothing of the build tree
# is used afterwards. bin/kova starts lib/kova/kova with the loader that lies beside it.
set(KOVA_PRIVATE_FOLDER lib/kova)
install(TARGETS kova RUNTIME DESTINATION ${KOVA_PRIVATE_FOLDER})
install(TARGETS kova-xml LIBRARY DESTINATION ${KOVA_PRIVATE_FOLDER})
install(PROGRAMS "${CMAKE_CURRENT_LIST_DIR}/kova.sh" DESTINATION bin RENAME kova)
install(DIRECTORY "${CMAKE_SOURCE_DIR}/examples" "${CMAKE_SOURCE_DIR}/library" DESTINATION share/kova
  PATTERN CMakeLists.txt EXCLUDE)

# What finds the bundle, and what shells and desktops know of the command.
configure_file("${CMAKE_SOURCE_DIR}/packaging/kova-xml.pc.in" kova-xml.pc @ONLY)
configure_file("${CMAKE_SOURCE_DIR}/packaging/kova-xml-config.cmake.in" kova-xml-config.cmake COPYONLY)
include(CMakePackageConfigHelpers)
write_basic_package_version_file(kova-xml-config-version.cmake COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/kova-xml.pc" DESTINATION lib/pkgconfig)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/kova-xml-config.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/kova-xml-config-version.cmake" DESTINATION lib/cmake/kova-xml)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/kova.bash-completion" DESTINATION share/bash-completion/completions
  RENAME kova)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/kova.zsh-completion" DESTINATION share/zsh/site-functions RENAME _kova)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/kova.xml" DESTINATION share/mime/packages)
install(FILES "${CMAKE_SOURCE_DIR}/packaging/text-x-kova.svg" DESTINATION share/icons/hicolor/scalable/mimetypes)

# What `make manual` made.
install(DIRECTORY "${CMAKE_SOURCE_DIR}/build/manual/man" DESTINATION share OPTIONAL)
install(FILES "${CMAKE_SOURCE_DIR}/build/manual/kova.html" DESTINATION share/doc/kova OPTIONAL)

# The licences of all that is installed, as NOTICE lists it.
install(FILES "${CMAKE_SOURCE_DIR}/LICENSE" "${CMAKE_SOURCE_DIR}/NOTICE" DESTINATION share/doc/kova)
install(FILES "${CMAKE_SOURCE_DIR}/build/expat/source/COPYING" DESTINATION share/doc/kova/licenses RENAME expat)
foreach(package IN ITEMS libxml2 libxslt1.1 libicu72 libffi8 libedit2 libbsd0 libmd0 libmimalloc2.0 libtinfo6 libcli11-dev nlohmann-json3-dev
                         libgcrypt20 libgpg-error0 libc6 gcc-12-base)
  install(FILES "${CMAKE_SYSROOT}/usr/share/doc/${package}/copyright" DESTINATION share/doc/kova/licenses
    RENAME "${package}")
endforeach()

install(CODE "set(sysroot \"${CMAKE_SYSROOT}\")
set(trained \"${CMAKE_BINARY_DIR}/libraries\")
set(private \"${KOVA_PRIVATE_FOLDER}\")
set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/\${private}\")")
install(CODE [[
if(NOT EXISTS "${trained}/versions")
  # Debian's libxml2, which is taken then, brings others along.
  foreach(package zlib1g liblzma5)
    file(INSTALL "${sysroot}/usr/share/doc/${package}/copyright" RENAME "${package}"
      DESTINATION "${CMAKE_INSTALL_PREFIX}/share/doc/kova/licenses")
  endforeach()
endif()
# The loader itself tells which libraries it takes: "libxml2.so.2 => /path/libxml2.so.2 (0x…)".
set(libraries)
foreach(file kova kova-xml.so)
  execute_process(
    COMMAND "${sysroot}/lib/ld-linux.so.2"
      --library-path "${trained}:${sysroot}/usr/lib/i386-linux-gnu:${sysroot}/lib/i386-linux-gnu" --list "${folder}/${file}"
    OUTPUT_VARIABLE list COMMAND_ERROR_IS_FATAL ANY)
  if(list MATCHES "not found")
    message(FATAL_ERROR "Libraries of ${file} are missing:\n${list}")
  endif()
  string(REGEX MATCHALL "=> /[^\n]+ \\(" found "${list}")
  list(APPEND libraries ${found})
endforeach()
list(TRANSFORM libraries REPLACE "^=> (.*) \\($" "\\1")
list(FILTER libraries EXCLUDE REGEX "/ld-linux")
list(REMOVE_DUPLICATES libraries)
file(INSTALL ${libraries} DESTINATION "${CMAKE_INSTALL_PREFIX}/${private}" FOLLOW_SYMLINK_CHAIN) # it adds DESTDIR itself
file(REAL_PATH "${sysroot}/lib/ld-linux.so.2" loader)
file(COPY_FILE "${loader}" "${folder}/ld-linux.so.2")
file(CHMOD "${folder}/ld-linux.so.2" PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# The search path of the build tree would come before everything else.
file(GLOB installed "${folder}/kova" "${folder}/kova-xml.so")
foreach(file ${installed})
  file(RPATH_REMOVE FILE "${file}")
endforeach()
# The loader's place in the build tree, which bin/kova does not use, becomes the usual one of as many bytes.
execute_process(COMMAND sh -ec [=[
  interpreter=$(mktemp)
  trap 'rm -f "$interpreter"' EXIT
  objcopy --dump-section .interp="$interpreter" "$1"
  size=$(stat -c %s "$interpreter")
  printf /lib/ld-linux.so.2 >"$interpreter"
  truncate -s "$size" "$interpreter"
  objcopy --update-section .interp="$interpreter" "$1"]=]
  sh "${folder}/kova" COMMAND_ERROR_IS_FATAL ANY)
]])
