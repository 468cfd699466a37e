# Fuzz targets and the sanitizer builds.
#
# LVX_FUZZ (clang only) instruments every target for libFuzzer's coverage feedback and for the
# address and undefined-behaviour sanitizers, and links each fuzz target with libFuzzer's main.
# Without it a fuzz target is a plain program that runs its entry point over the files and folders
# named on its command line: every target compiles in every build, and ctest replays the inputs
# that fuzzing found so that a fixed fault stays fixed.
#
# LVX_SANITIZE builds everything with the address and undefined-behaviour sanitizers; undefined
# behaviour aborts the program, so that a test that meets it fails.

option(LVX_FUZZ "Build the fuzz targets with libFuzzer (needs clang)" OFF)
option(LVX_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)

set(lvx_sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined
                        -fno-omit-frame-pointer)
if(LVX_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "LVX_FUZZ needs clang: configure with -DCMAKE_CXX_COMPILER=clang++")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link ${lvx_sanitizer_flags})
  add_link_options(-fsanitize=address,undefined)
elseif(LVX_SANITIZE)
  add_compile_options(${lvx_sanitizer_flags})
  add_link_options(-fsanitize=address,undefined)
endif()

# lvx_add_fuzz_target(name SOURCES file... LIBS target... INPUTS folder)
# INPUTS is the folder of the target's regression inputs, relative to the top of the tree.
function(lvx_add_fuzz_target name)
  cmake_parse_arguments(arg "" "INPUTS" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} lvx_warnings)
  if(LVX_FUZZ)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tools/fuzz/standalone_main.cpp)
  endif()
  set_property(GLOBAL APPEND PROPERTY LVX_FUZZ_TARGETS ${name})
  set_property(TARGET ${name} PROPERTY LVX_FUZZ_INPUTS ${PROJECT_SOURCE_DIR}/${arg_INPUTS})
endfunction()
