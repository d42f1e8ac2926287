# SPDX-License-Identifier: GPL-3.0-or-later

# lumi_wayland_protocols: what clients need for the protocol extensions that the program speaks, made from the
# descriptions that the package wayland-protocols installs.
enable_language(C)
pkg_check_modules(WAYLAND REQUIRED IMPORTED_TARGET wayland-client)
pkg_get_variable(LUMI_WAYLAND_SCANNER wayland-scanner wayland_scanner)
pkg_get_variable(LUMI_WAYLAND_PROTOCOLS wayland-protocols pkgdatadir)

add_library(lumi_wayland_protocols STATIC)
target_link_libraries(lumi_wayland_protocols PUBLIC PkgConfig::WAYLAND)
set_target_properties(lumi_wayland_protocols PROPERTIES POSITION_INDEPENDENT_CODE ON)
set(generated ${CMAKE_BINARY_DIR}/wayland-protocols)
file(MAKE_DIRECTORY ${generated})
target_include_directories(lumi_wayland_protocols SYSTEM PUBLIC ${generated})
foreach(description stable/xdg-shell/xdg-shell unstable/xdg-output/xdg-output-unstable-v1)
  get_filename_component(protocol ${description} NAME)
  set(xml ${LUMI_WAYLAND_PROTOCOLS}/${description}.xml)
  add_custom_command(
    OUTPUT ${generated}/${protocol}.c ${generated}/${protocol}-client-protocol.h
    COMMAND ${LUMI_WAYLAND_SCANNER} private-code ${xml} ${generated}/${protocol}.c
    COMMAND ${LUMI_WAYLAND_SCANNER} client-header ${xml} ${generated}/${protocol}-client-protocol.h
    DEPENDS ${xml} VERBATIM)
  target_sources(lumi_wayland_protocols PRIVATE ${generated}/${protocol}.c
    PUBLIC FILE_SET HEADERS BASE_DIRS ${generated} FILES ${generated}/${protocol}-client-protocol.h)
endforeach()
