# The one place that knows how a target of this project is built: language level, warnings and
# Qt's strictness (velmora_flags), layers (velmora_library), tests and fuzz targets.

add_library(velmora_flags INTERFACE)
target_compile_features(velmora_flags INTERFACE cxx_std_20)
target_include_directories(velmora_flags INTERFACE "${CMAKE_SOURCE_DIR}/src")
target_compile_definitions(
  velmora_flags
  INTERFACE QT_NO_CAST_FROM_ASCII
            QT_NO_CAST_TO_ASCII
            QT_NO_URL_CAST_FROM_STRING
            QT_NO_CONTEXTLESS_CONNECT
            QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
            QT_NO_KEYWORDS
            QT_NO_FOREACH
            QT_USE_QSTRINGBUILDER
            QT_DISABLE_DEPRECATED_BEFORE=0x060400)
target_compile_options(
  velmora_flags
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
            -Wold-style-cast -Wcast-qual -Wformat=2 -Wimplicit-fallthrough -Wundef
            -fno-omit-frame-pointer)
if(VELMORA_WERROR)
  target_compile_options(velmora_flags INTERFACE -Werror)
endif()
# Some seventy test programs are linked in every build; a fast linker is worth a minute of it.
find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM)
  target_link_options(velmora_flags INTERFACE -fuse-ld=mold)
endif()
if(VELMORA_SANITIZE)
  target_compile_options(velmora_flags INTERFACE -fsanitize=${VELMORA_SANITIZE}
                                                 -fno-sanitize-recover=all)
  target_link_options(velmora_flags INTERFACE -fsanitize=${VELMORA_SANITIZE})
endif()
if(VELMORA_COVERAGE)
  target_compile_options(velmora_flags INTERFACE --coverage)
  target_link_options(velmora_flags INTERFACE --coverage)
endif()
if(VELMORA_FUZZ)
  # The libraries under a fuzz target report their edges; only the target itself links the driver.
  target_compile_options(velmora_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# All fuzz targets and what they need, without the program.
add_custom_target(fuzzers)

# Everything that the build writes and a source includes; linters need it, not the objects.
add_custom_target(generated)

# velmora_library(NAME [PCH core|widgets] SOURCES ... LINKS ...)
# One layer: a static library that names what it links. A link that is missing here is an include
# that the layer must not have.
function(velmora_library name)
  cmake_parse_arguments(ARG "" "PCH" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC velmora_flags ${ARG_LINKS})
  velmora_precompile(${name} "${ARG_PCH}")
  add_dependencies(generated ${name}_autogen)
endfunction()

# One precompiled header for all layers without widgets and one for those with: Qt's headers are
# the larger part of every build here.
function(velmora_precompile name kind)
  if(NOT VELMORA_PCH OR kind STREQUAL "")
    return()
  endif()
  if(kind STREQUAL "core")
    set(module Core)
  elseif(kind STREQUAL "widgets")
    set(module Widgets)
  else()
    message(FATAL_ERROR "velmora_precompile: unknown kind '${kind}'")
  endif()
  set(owner velmora_pch_${kind})
  if(NOT TARGET ${owner})
    add_library(${owner} STATIC "${CMAKE_SOURCE_DIR}/cmake/pch.cpp")
    target_link_libraries(${owner} PRIVATE velmora_flags Qt6::${module})
    target_precompile_headers(${owner} PRIVATE <Qt${module}/Qt${module}>)
  endif()
  target_precompile_headers(${name} REUSE_FROM ${owner})
endfunction()

# velmora_test(NAME SOURCES ... LINKS ... [TIMEOUT seconds] [LABELS ...] [PRELOAD])
# PRELOAD is for a test that starts other programs on the virtual null modem: it builds the library
# that gives pseudo-terminals modem lines and break, and tells the test where it is
# (NullModem::peerEnvironment). The test itself needs no more than velmora_test_support.
function(velmora_test name)
  cmake_parse_arguments(ARG "PRELOAD" "TIMEOUT" "SOURCES;LINKS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE Qt6::Test velmora_flags ${ARG_LINKS})
  if(ARG_LINKS MATCHES "velmora_(terminal_view|terminal_pane|bridge_ui|tools|app)")
    velmora_precompile(${name} widgets)
  else()
    velmora_precompile(${name} core)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  set(environment QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8 TZ=UTC)
  if(ARG_PRELOAD)
    target_link_libraries(${name} PRIVATE velmora_test_support)
    add_dependencies(${name} velmora_nullmodem_preload)
    list(APPEND environment "VELMORA_TEST_PRELOAD=$<TARGET_FILE:velmora_nullmodem_preload>")
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${environment}")
  if(ARG_LABELS)
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}")
  endif()
endfunction()

# velmora_fuzz(NAME SOURCES ... LINKS ...)
# With VELMORA_FUZZ: the libFuzzer binary fuzz_NAME. With VELMORA_TESTS: the same target behind a
# plain main that replays fuzz/corpus/NAME, as a test.
function(velmora_fuzz name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  if(VELMORA_FUZZ)
    add_executable(fuzz_${name} ${ARG_SOURCES})
    target_include_directories(fuzz_${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
    target_link_libraries(fuzz_${name} PRIVATE velmora_flags ${ARG_LINKS})
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzzers fuzz_${name})
  elseif(VELMORA_TESTS)
    add_executable(replay_${name} ${ARG_SOURCES} "${CMAKE_SOURCE_DIR}/fuzz/replay.cpp")
    target_include_directories(replay_${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
    target_link_libraries(replay_${name} PRIVATE velmora_flags ${ARG_LINKS})
    add_test(NAME replay_${name} COMMAND replay_${name}
                                         "${CMAKE_SOURCE_DIR}/fuzz/corpus/${name}")
    set_tests_properties(replay_${name} PROPERTIES TIMEOUT 60 LABELS fuzz)
  endif()
endfunction()

function(velmora_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE benchmark::benchmark velmora_flags ${ARG_LINKS})
endfunction()
