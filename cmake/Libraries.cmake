# SPDX-License-Identifier: GPL-3.0-or-later

# The libraries that the program uses. A test (tests/include_rule_test.cpp) checks which folder includes which.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(PNG REQUIRED)
find_package(hwy REQUIRED)
find_package(simdjson REQUIRED)
# xxHash, of which the header is all.
find_path(XXHASH_INCLUDE_DIR xxhash.h REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core DBus Network Svg Widgets)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)
pkg_check_modules(PANGO REQUIRED IMPORTED_TARGET pangocairo)
pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswresample libswscale)
# Palettes of GIF files. The devices' library depends on it anyway.
pkg_check_modules(FFMPEG_FILTERS REQUIRED IMPORTED_TARGET libavfilter)
pkg_check_modules(WEBP REQUIRED IMPORTED_TARGET libwebp libwebpmux libwebpdemux)
pkg_check_modules(FFMPEG_DEVICES REQUIRED IMPORTED_TARGET libavdevice)
pkg_check_modules(EBUR128 REQUIRED IMPORTED_TARGET libebur128)
pkg_check_modules(PULSE REQUIRED IMPORTED_TARGET libpulse)
pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(INPUT REQUIRED IMPORTED_TARGET libinput>=1.19 libudev)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-composite xcb-damage xcb-randr xcb-record xcb-render xcb-res
  xcb-shape xcb-shm xcb-xfixes xcb-xinput)
include(cmake/WaylandProtocols.cmake)
if(LUMI_TESTS)
  find_package(GTest REQUIRED)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
  include(GoogleTest)
  # A second decoder of H.264.
  pkg_check_modules(OPENH264 REQUIRED IMPORTED_TARGET openh264)
endif()
if(LUMI_TESTS OR LUMI_BENCHMARKS)
  # Pointers and keys by script.
  pkg_check_modules(XTEST REQUIRED IMPORTED_TARGET xcb xcb-randr xcb-render xcb-xtest)
endif()
if(LUMI_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
