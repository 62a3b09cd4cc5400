find_package(PkgConfig REQUIRED)
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)

# wayland_protocol(NAME DESCRIPTION): a library that speaks the protocol which the file describes; its header is
# <description>-client.h.
function(wayland_protocol name description)
  get_filename_component(stem ${description} NAME_WE)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(source ${CMAKE_CURRENT_SOURCE_DIR}/${description})
  file(MAKE_DIRECTORY ${folder})
  add_custom_command(OUTPUT ${folder}/${stem}.c ${folder}/${stem}-client.h
    COMMAND ${WAYLAND_SCANNER} --strict private-code ${source} ${folder}/${stem}.c
    COMMAND ${WAYLAND_SCANNER} --strict client-header ${source} ${folder}/${stem}-client.h
    DEPENDS ${source}
    VERBATIM)
  add_library(${name} STATIC ${folder}/${stem}.c ${folder}/${stem}-client.h)
  set_target_properties(${name} PROPERTIES AUTOMOC OFF)
  target_include_directories(${name} SYSTEM INTERFACE ${folder})
endfunction()
