# SPDX-License-Identifier: MIT
# Every target of the project goes through one of these, so that language level, warnings and
# include root are stated once and never leak into global flags.

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# People let these programs write to firmware. What a compiler can do against a hole is done in every
# build, not only where a distribution asks for it.
set(TAVIK_HARDENING -fstack-protector-strong)
set(CMAKE_REQUIRED_FLAGS -Werror) # one compiler merely warns of a flag for another processor
foreach(flag -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "TAVIK_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  if(${has})
    list(APPEND TAVIK_HARDENING ${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)
# The checked functions of the C library need an optimizing compiler.
set(optimized $<CONFIG:None,Release,RelWithDebInfo,MinSizeRel>)
if(NOT CMAKE_CXX_FLAGS MATCHES _FORTIFY_SOURCE) # a distribution may ask for more
  list(APPEND TAVIK_HARDENING
    $<${optimized}:-U_FORTIFY_SOURCE> $<${optimized}:-D_FORTIFY_SOURCE=2>)
endif()

function(tavik_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_BYTEARRAY)
  target_compile_options(${target} PRIVATE
    ${TAVIK_HARDENING} -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${TAVIK_WERROR}>:-Werror>)
  target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now,-z,noexecstack)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()

# tavik_library(name SOURCES... ) builds a static library; link its users with it as usual.
function(tavik_library target)
  add_library(${target} STATIC ${ARGN})
  tavik_target_defaults(${target})
  set_target_properties(${target} PROPERTIES AUTOMOC ON)
endfunction()

# tavik_executable(name SOURCES...)
function(tavik_executable target)
  add_executable(${target} ${ARGN})
  tavik_target_defaults(${target})
  set_target_properties(${target} PROPERTIES AUTOMOC ON)
endfunction()

# More than a hundred programs are linked for the tests; where it is there, this linker takes a third
# of the time.
check_linker_flag(CXX -fuse-ld=gold TAVIK_HAS_GOLD)

# tavik_read_test_headers(target) lets it start from the headers of Qt that tavik_test_support has
# read, which is half of what compiling a test takes. All who do are compiled alike.
function(tavik_read_test_headers target)
  target_link_libraries(${target} PRIVATE tavik_test_headers)
  target_precompile_headers(${target} REUSE_FROM tavik_test_support)
endfunction()

# tavik_test(name SOURCE LIBRARIES...) builds one Qt Test program and registers it with ctest.
# It runs without a display, in a locale that every system has and Qt takes without a word, and with
# configuration and runtime directories that no other test shares.
function(tavik_test name source)
  tavik_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARGN})
  tavik_read_test_headers(${name})
  # Empty: reading headers for it would take longer than all the rest.
  set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/mocs_compilation.cpp
    PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  if(TAVIK_HAS_GOLD)
    target_link_options(${name} PRIVATE -fuse-ld=gold)
  endif()
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  add_test(NAME ${name} COMMAND ${name})
  set(runtime_directory ${CMAKE_BINARY_DIR}/test-runtime/${name})
  file(MAKE_DIRECTORY ${runtime_directory})
  file(CHMOD ${runtime_directory} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  set_tests_properties(${name} PROPERTIES
    TIMEOUT 120
    ENVIRONMENT "LC_ALL=C.UTF-8;QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${CMAKE_BINARY_DIR}/test-config/${name};XDG_RUNTIME_DIR=${runtime_directory};TAVIK_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
endfunction()

# tavik_test_at_ratios(name RATIOS...) runs a test once more for each, as if on a screen of that pixel
# ratio.
function(tavik_test_at_ratios name)
  get_test_property(${name} ENVIRONMENT environment)
  foreach(ratio ${ARGN})
    add_test(NAME ${name}_${ratio} COMMAND ${name})
    set_tests_properties(${name}_${ratio} PROPERTIES
      TIMEOUT 120 ENVIRONMENT "${environment};QT_SCALE_FACTOR=${ratio}"
      WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
  endforeach()
endfunction()

# tavik_run_alone(name) puts a test away from the share directory of the build tree, so that the
# skin and the layout file are missing unless it brings its own.
function(tavik_run_alone name)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lonely/${name}/bin)
endfunction()

# tavik_check(name TREE CHECK...) holds a rule on the checkout, and shows that the check rejects a tree
# that breaks it.
function(tavik_check name tree)
  add_test(NAME ${name} COMMAND ${ARGN} ${PROJECT_SOURCE_DIR})
  add_test(NAME ${name}-rejects
    COMMAND ${PROJECT_SOURCE_DIR}/tests/lint/rejects ${CMAKE_CURRENT_SOURCE_DIR}/${tree} ${ARGN})
endfunction()
