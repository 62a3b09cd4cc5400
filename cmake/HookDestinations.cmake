# The scripts find the programs from where they stand themselves: in a bundle beside them, else in the place for programs
# that no user runs by name. That place has the same name on every system, whatever its libraries' place is called.
include(GNUInstallDirs)
set(PELORIN_SCRIPTS_DESTINATION ${CMAKE_INSTALL_DATADIR}/pelorin)
set(PELORIN_HOOKS_DESTINATION ${PELORIN_SCRIPTS_DESTINATION}/hooks)
if(APPLE)
  set(PELORIN_HOOK_PROGRAMS_DESTINATION ${PELORIN_HOOKS_DESTINATION})
else()
  set(PELORIN_HOOK_PROGRAMS_DESTINATION lib/pelorin)
endif()
