# Expat by a profile: compiled a first time, it counts what expat_training.cpp makes it do; the real one is compiled for
# that. Only by GCC, and not in instrumented builds. A training that fails ends the build.
if(NOT CMAKE_C_COMPILER_ID STREQUAL "GNU" OR NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR KOVA_SANITIZE OR KOVA_FUZZ)
  return()
endif()

get_target_property(folder expat SOURCE_DIR)
get_target_property(sources expat SOURCES)
list(FILTER sources INCLUDE REGEX "\\.c$")
list(TRANSFORM sources PREPEND "${folder}/")

# Counts are written and read under the name of the object, in the folder that -dumpdir names.
set(profile "${CMAKE_BINARY_DIR}/expat_profile")
set(counts)
foreach(source IN LISTS sources)
  cmake_path(GET source FILENAME name)
  list(APPEND counts "${profile}/${name}.gcda")
endforeach()

# Jumps are counted, values are not: among them are addresses, which differ from run to run.
add_library(expat_counting OBJECT EXCLUDE_FROM_ALL ${sources})
target_compile_definitions(expat_counting PRIVATE $<TARGET_PROPERTY:expat,COMPILE_DEFINITIONS>)
target_include_directories(expat_counting SYSTEM PUBLIC $<TARGET_PROPERTY:expat,INCLUDE_DIRECTORIES>)
target_compile_options(expat_counting PRIVATE
  -g0 -fprofile-generate -fno-profile-values -dumpdir "${profile}/")
target_link_options(expat_counting INTERFACE -fprofile-generate)
add_executable(expat_training EXCLUDE_FROM_ALL cmake/expat_training.cpp)
target_link_libraries(expat_training PRIVATE kova_settings expat_counting)

# Counts would be added to those of the training before.
add_custom_command(OUTPUT ${counts}
  COMMAND "${CMAKE_COMMAND}" -E rm -rf "${profile}"
  COMMAND "${CMAKE_COMMAND}" -E make_directory "${profile}"
  COMMAND "$<TARGET_FILE:expat_training>"
  DEPENDS expat_training
  COMMENT "Training Expat")
add_custom_target(expat_profile DEPENDS ${counts})
add_dependencies(expat expat_profile)
set_property(SOURCE ${sources} TARGET_DIRECTORY expat PROPERTY OBJECT_DEPENDS ${counts})

# What the training does not reach is compiled as ever, not for size.
target_compile_options(expat PRIVATE
  -fprofile-use -fno-vpt -fprofile-partial-training -Werror=missing-profile -dumpdir "${profile}/")
set_target_properties(expat expat_counting PROPERTIES
  C_STANDARD 99
  C_EXTENSIONS OFF
  C_COMPILER_LAUNCHER "") # ccache does not know where these counts are
