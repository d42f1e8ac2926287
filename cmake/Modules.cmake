# SPDX-License-Identifier: GPL-3.0-or-later

# One static library for each folder below src, with the tests that stand beside its code.

# Half of the time that sanitized builds take.
option(LUMI_UNITY "Compile the sources of a folder as one" OFF)

# Flags that all of our own code is built with.
add_library(lumi_options INTERFACE)
target_compile_features(lumi_options INTERFACE cxx_std_20)
target_include_directories(lumi_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(lumi_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Werror
  # GCC 12 sees overlaps in std::string's operator+ that are not there (GCC bug 105651), and behind precompiled headers
  # it no longer keeps two more findings in the same place to itself.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict$<SEMICOLON>-Wno-stringop-overflow$<SEMICOLON>-Wno-array-bounds>
  # What the macros of PipeWire's and systemd's headers are made of.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-statement-expression$<SEMICOLON>-Wno-c99-extensions>
  # Some libraries ask for it, and precompiled headers want the same flags everywhere.
  -pthread
  # Fused multiply-add would make results depend on the machine.
  -ffp-contract=off)
target_link_libraries(lumi_options INTERFACE Threads::Threads)
if(LUMI_SANITIZE)
  target_compile_options(lumi_options INTERFACE -fsanitize=${LUMI_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all
    # Sanitized, GCC 12 takes std::regex for uninitialized (GCC bug 105562). The release build keeps the warning.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(lumi_options INTERFACE -fsanitize=${LUMI_SANITIZE})
endif()
if(LUMI_UNITY)
  # A local may have the name of another source's own.
  target_compile_options(lumi_options INTERFACE -Wno-shadow)
endif()
if(LUMI_FUZZERS)
  target_compile_options(lumi_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# A source whose own names others of its folder have, too, is compiled alone.
set(LUMI_SOURCES_APART
  app/app_delegate app/windows/recordings_window capture/recording/recorder capture/recording/webcam_recorder
  cli/verbs/.*_verb editor/idle_dialog editor/session/edit_session imaging/painting/.*kernels
  imaging/painting/painter imaging/pixel_buffer media/reading/picture_decoder media/reading/sound_decoder
  media/region/region_coder media/region/region_planner media/writing/video_encoder platform/pipewire/.*
  platform/pulse/.* platform/sound/microphone_watch platform/wayland/portal_shortcut
  platform/wayland/wayland_outputs playback/frame_seeker render/overview/small_pictures ui/colour_well
  ui/segmented_control ui/value_slider
  base/interval_test edit/frame_rounding_test edit/pointer_rests_test edit/studio_layout_test
  editor/preview/preview_layout_test editor/timeline/strip_selection_test editor/timeline/timeline_strip_layout_test
  imaging/painting/painting_test imaging/picture_test imaging/recipe_identity_test media/loudness/true_peak_limiter_test
  media/reading/sound_reading_test media/region/group_encoder_test media/region/rate_control_test media/region/region_planner_test
  media/writing/fragmented_movie_test model/look_test model/pointer_track_test model/project_document_test
  model/project_settings_test platform/x11/x11_excluded_windows_test render/partly_painted_export_test
  render/reuse/group_store_test render/reused_export_test)
list(JOIN LUMI_SOURCES_APART "|" LUMI_SOURCES_APART)
function(lumi_unity target sources)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ${LUMI_UNITY} UNITY_BUILD_MODE GROUP)
  set(count 0)
  foreach(source IN LISTS sources)
    if(source MATCHES "^${PROJECT_SOURCE_DIR}/src/" AND NOT source MATCHES "/src/(${LUMI_SOURCES_APART})[.]cpp$")
      # More in one would leave a processor without work at the end.
      math(EXPR part "${count} / 12")
      math(EXPR count "${count} + 1")
      get_filename_component(folder ${source} DIRECTORY)
      string(MAKE_C_IDENTIFIER "${folder}_${part}" group)
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
    endif()
  endforeach()
endfunction()

# What most sources include, compiled once. Sources include what they need nevertheless: the debug preset builds without.
option(LUMI_PRECOMPILED_HEADERS "Compile the headers that most sources include once" ON)
set(LUMI_COMMON_HEADERS <algorithm> <array> <atomic> <chrono> <cmath> <condition_variable> <cstddef> <cstdint> <deque>
  <exception> <filesystem> <functional> <map> <memory> <mutex> <new> <optional> <set> <span> <stop_token> <string>
  <string_view> <thread> <utility> <variant> <vector>)
# Makes the headers that other targets take over with lumi_precompiled.
function(lumi_precompile target)
  if(LUMI_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} PRIVATE ${LUMI_COMMON_HEADERS} ${ARGN})
  endif()
endfunction()
# Both targets are compiled with the same options.
function(lumi_precompiled target from)
  if(LUMI_PRECOMPILED_HEADERS AND NOT target STREQUAL from)
    target_precompile_headers(${target} REUSE_FROM ${from})
  endif()
endfunction()

# Options of everything that is built for tests. What tests themselves do is quick; optimizing it fully is a third of the
# time that compiling them takes, and with sanitizers optimizing it at all is half of it. All of it is
# position-independent in the same way, as precompiled headers ask for.
function(lumi_test_options target)
  set(level $<$<CONFIG:Release>:-O1>)
  if(LUMI_SANITIZE)
    set(level -O0)
  endif()
  target_compile_options(${target} PRIVATE ${level} -fPIC)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
endfunction()

# Tests that compute for seconds themselves: unoptimized, their own loops would be most of a sanitized run.
set(LUMI_COMPUTING_TESTS
  cavlc clock_drift_corrector damage_painting frame_rounding include_rule live_region loudness_meter painter painting
  picture_changes region_pictures region_video_encoder source_rule strip_parts studio_background true_peak_limiter
  zoom_engine)
list(TRANSFORM LUMI_COMPUTING_TESTS APPEND _test.cpp)

# Test binaries get a main of our own (tests/support), which gives each of them a home folder of its own.
# ALONE names tests, in Google Test's filter form, beside which no others run: those that hold what real servers handed
# over to the milliseconds at which it was shown, and those that work the program by hand, at a person's pace.
function(lumi_test_binary name)
  cmake_parse_arguments(ARG "" "ALONE" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(LUMI_SANITIZE)
    foreach(source IN LISTS ARG_SOURCES)
      get_filename_component(file ${source} NAME)
      if(file IN_LIST LUMI_COMPUTING_TESTS)
        # Behind the target's options, so this level holds; a precompiled header has the target's.
        set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS -O1 SKIP_PRECOMPILE_HEADERS ON)
      endif()
    endforeach()
  endif()
  lumi_test_options(${name})
  lumi_unity(${name} "${ARG_SOURCES}")
  lumi_precompiled(${name} lumi_test_support)
  target_link_libraries(${name} PRIVATE lumi_options lumi_test_support ${ARG_LINKS})
  set(lists ${name}_tests)
  if(ARG_ALONE)
    gtest_discover_tests(${name} TEST_FILTER "${ARG_ALONE}" TEST_LIST ${name}_alone
      DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 1500 RUN_SERIAL TRUE)
    set(others TEST_FILTER "-${ARG_ALONE}")
    list(APPEND lists ${name}_alone)
  endif()
  gtest_discover_tests(${name} ${others} TEST_LIST ${name}_tests DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 1500)
  # Behind the tests' names, which ctest asks the program for.
  set(labels ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
  file(CONFIGURE OUTPUT ${labels} @ONLY CONTENT [[
set(LUMI_TEST_LABELS "@PROJECT_SOURCE_DIR@/tests/labels.txt")
set(LUMI_TEST_LISTS "@lists@")
include("@PROJECT_SOURCE_DIR@/cmake/TestLabels.cmake")
]])
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${labels})
endfunction()

# What src/layers.txt lets a folder include, as a list of library targets.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/layers.txt)
function(lumi_layer_links folder result)
  file(STRINGS ${PROJECT_SOURCE_DIR}/src/layers.txt line REGEX "^${folder}:")
  if(NOT line)
    message(FATAL_ERROR "src/layers.txt has no line for ${folder}")
  endif()
  string(REGEX REPLACE "^[^:]*: *" "" names "${line}")
  string(REGEX MATCHALL "[a-z/_0-9]+" names "${names}")
  list(TRANSFORM names REPLACE "^.*/" "")
  list(TRANSFORM names PREPEND lumi_)
  set(${result} ${names} PARENT_SCOPE)
endfunction()

# lumi_module(name PRIVATE libraries... PUBLIC libraries... ALONE tests)
# The library of the folder where this stands, with its tests. Sources, headers and tests are found by their names:
# *_test.cpp is a test, *_main.cpp a program's, everything else belongs to the library.
# PRIVATE is what only its sources use, PUBLIC what its headers show. What other folders it links, src/layers.txt says.
# ALONE as above.
function(lumi_module name)
  cmake_parse_arguments(ARG "" "ALONE" "PUBLIC;PRIVATE" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS *.h)
  # A folder below with a list of its own is a module of its own.
  file(GLOB_RECURSE nested RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} */CMakeLists.txt)
  foreach(list IN LISTS nested)
    get_filename_component(folder ${list} DIRECTORY)
    list(FILTER sources EXCLUDE REGEX "^${CMAKE_CURRENT_SOURCE_DIR}/${folder}/")
    list(FILTER headers EXCLUDE REGEX "^${CMAKE_CURRENT_SOURCE_DIR}/${folder}/")
  endforeach()
  set(test_sources ${sources})
  list(FILTER test_sources INCLUDE REGEX "_test\\.cpp$")
  list(FILTER sources EXCLUDE REGEX "_(test|bench|main)\\.cpp$")
  add_library(lumi_${name} STATIC ${sources})
  lumi_unity(lumi_${name} "${sources}")
  target_sources(lumi_${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${headers})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
  lumi_layer_links(${folder} links)
  target_link_libraries(lumi_${name} PUBLIC lumi_options ${links} ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  if(name STREQUAL base)
    lumi_precompile(lumi_base)
  else()
    lumi_precompiled(lumi_${name} lumi_base)
  endif()
  if(LUMI_TESTS AND test_sources)
    lumi_test_binary(${name}_tests SOURCES ${test_sources} LINKS lumi_${name} ${ARG_PRIVATE} ALONE "${ARG_ALONE}")
  endif()
endfunction()
