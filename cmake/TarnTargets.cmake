# How every target of the tree is compiled, and the checks that the build makes on the tree itself.

add_library(tarn-flags INTERFACE)
# The second folder has the headers that the build makes.
target_include_directories(tarn-flags INTERFACE ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}/strings)
target_compile_options(tarn-flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wundef -Wvla -Wcast-align $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual> -Wimplicit-fallthrough
  -fno-strict-aliasing
  # GCC 12 takes "text" + std::string at -O3 for copies that overlap or are too long (GCC bug 105651). The other builds look
  # for those that are.
  "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict;-Wno-array-bounds;-Wno-stringop-overflow;-Wno-stringop-overread>")
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
  # Functions of one signature have C linkage for the sake of their names; they may still return C++ references.
  target_compile_options(tarn-flags INTERFACE -Wno-return-type-c-linkage)
endif()
if(TARN_ASSERTS)
  # CMake's optimised configurations define NDEBUG; the development build wants both speed and checks.
  target_compile_options(tarn-flags INTERFACE -UNDEBUG)
endif()
if(CMAKE_UNITY_BUILD)
  # Of several sources in a unit, one may have a class with members of its unnamed namespace, and another a local name that
  # is a name of the first. The development build warns of both within a source.
  target_compile_options(tarn-flags INTERFACE -Wno-shadow $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
if(TARN_SANITIZE)
  target_compile_options(tarn-flags INTERFACE -fsanitize=${TARN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tarn-flags INTERFACE -fsanitize=${TARN_SANITIZE})
endif()
if(TARN_FUZZ)
  target_compile_options(tarn-flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# tarn_compile_fast(TARGET [source...]): for units, all of the target or these, that run once and take long to compile:
# tests, command lines, what reads and writes JSON.
function(tarn_compile_fast target)
  set(fast $<$<NOT:$<CONFIG:Debug>>:-O1>)
  if(ARGN)
    set_property(SOURCE ${ARGN} TARGET_DIRECTORY ${target} APPEND PROPERTY COMPILE_OPTIONS ${fast})
  else()
    target_compile_options(${target} PRIVATE ${fast})
  endif()
endfunction()

# tarn_compile_alone(TARGET source...): sources that make units of their own where others are joined: those whose speed is
# measured, so that what the compiler inlines does not depend on their neighbours, and one that others would wait for.
function(tarn_compile_alone target)
  set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# tarn_precompile(TARGET HEADERS header... WITHOUT source...): for its C++ units. Those WITHOUT have options of their own.
function(tarn_precompile target)
  cmake_parse_arguments(A "" "" "HEADERS;WITHOUT" ${ARGN})
  set(headers)
  foreach(h ${A_HEADERS})
    string(REPLACE ">" "$<ANGLE-R>" h "${h}")
    list(APPEND headers "$<$<COMPILE_LANGUAGE:CXX>:${h}>")
  endforeach()
  target_precompile_headers(${target} PRIVATE ${headers})
  set_source_files_properties(${A_WITHOUT} TARGET_DIRECTORY ${target} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# tarn_plugin_module(NAME OBJECTS): a module that hosts load. It stays loaded once it is: Qt keeps pointers into it.
function(tarn_plugin_module name objects)
  add_library(${name} MODULE $<TARGET_OBJECTS:${objects}>)
  target_link_libraries(${name} PRIVATE tarn-ui tarn-plugin)
  target_link_options(${name} PRIVATE -Wl,-z,nodelete -Wl,--no-undefined)
  set_target_properties(${name} PROPERTIES PREFIX "")
endfunction()

set_property(GLOBAL PROPERTY TARN_TEST_SOURCES "")

# tarn_test(NAME SOURCES file... LIBS target...): one GoogleTest program; every case is a ctest test.
function(tarn_test name)
  cmake_parse_arguments(A "QT" "" "SOURCES;LIBS;DEFS" ${ARGN})
  add_executable(${name} ${A_SOURCES})
  target_link_libraries(${name} PRIVATE tarn-flags ${A_LIBS} GTest::gtest)
  if(A_QT)
    target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/qt_main.cpp)
    target_link_libraries(${name} PRIVATE Qt6::Widgets)
  else()
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  endif()
  target_compile_definitions(${name} PRIVATE ${A_DEFS})
  tarn_compile_fast(${name})
  # Some of the libraries want it, and a precompiled header wants the same of all.
  target_compile_definitions(${name} PRIVATE _REENTRANT)
  set(pch test-pch)
  if(A_QT)
    set(pch test-pch-qt)
  endif()
  target_precompile_headers(${name} REUSE_FROM ${pch})
  include(GoogleTest)
  # ctest asks the program for its cases, with the environment that the test preset gives both.
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
  foreach(s ${A_SOURCES})
    get_filename_component(abs ${s} ABSOLUTE)
    set_property(GLOBAL APPEND PROPERTY TARN_TEST_SOURCES ${abs})
  endforeach()
endfunction()

# A test file that no program compiles would look alive and never run.
function(tarn_check_all_tests_registered)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/*_test.cpp)
  get_property(known GLOBAL PROPERTY TARN_TEST_SOURCES)
  foreach(f ${found})
    if(NOT f IN_LIST known)
      message(FATAL_ERROR "test file is in no test program: ${f}")
    endif()
  endforeach()
endfunction()

# Each header is compiled as the first include of a unit: of the source beside it, or else of one of its own.
function(tarn_check_headers_alone)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}
    ${CMAKE_SOURCE_DIR}/platform/*.h ${CMAKE_SOURCE_DIR}/kernel/*.h ${CMAKE_SOURCE_DIR}/audio/*.h
    ${CMAKE_SOURCE_DIR}/image/*.h ${CMAKE_SOURCE_DIR}/mediafile/*.h ${CMAKE_SOURCE_DIR}/fileio/*.h ${CMAKE_SOURCE_DIR}/controls/*.h
    ${CMAKE_SOURCE_DIR}/contract/*.h ${CMAKE_SOURCE_DIR}/controlmap/*.h ${CMAKE_SOURCE_DIR}/plugin/*.h ${CMAKE_SOURCE_DIR}/console/*.h
    ${CMAKE_SOURCE_DIR}/surface/*.h ${CMAKE_SOURCE_DIR}/host/*.h)
  list(FILTER headers EXCLUDE REGEX "^image/rows/vector_")  # only for units of one level of the processor
  set(units)
  foreach(h ${headers})
    string(REGEX REPLACE "[.]h$" ".cpp" source ${CMAKE_SOURCE_DIR}/${h})
    if(EXISTS ${source})
      file(STRINGS ${source} first REGEX "^#include" LIMIT_COUNT 1)
      if(first STREQUAL "#include \"${h}\"")
        continue()
      endif()
    endif()
    string(REPLACE "/" "_" unit ${h})
    set(cpp ${CMAKE_BINARY_DIR}/header_alone/${unit}.cpp)
    file(CONFIGURE OUTPUT ${cpp} CONTENT "#include \"${h}\"\n")
    list(APPEND units ${cpp})
  endforeach()
  add_library(headers-alone OBJECT ${units})
  target_link_libraries(headers-alone PRIVATE tarn-flags tarn-messages Qt6::Widgets Qt6::Svg tarn-host-libs)
  add_dependencies(headers-alone tarn-kernel tarn-plugin tarn-console tarn-surface mixhost)  # they make headers
  target_compile_options(headers-alone PRIVATE -O0 -g0)
endfunction()
