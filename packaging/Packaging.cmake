# What is installed, and the Debian package that `./dev package` makes of it.
include(GNUInstallDirs)

if(PELORIN_INTERFACE)
  install(TARGETS pelorin RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/com.pelorin.manager.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
  foreach(side 16 22 24 32 48 64 128 256)
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/icons/com.pelorin.manager-${side}.png
      DESTINATION ${icons}/${side}x${side}/apps RENAME com.pelorin.manager.png)
  endforeach()
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/icons/com.pelorin.manager.svg DESTINATION ${icons}/scalable/apps)
endif()

install(FILES ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/pelorin)

set(CPACK_PACKAGE_NAME pelorin)
set(CPACK_PACKAGE_VENDOR "The Pelorin developers")
set(CPACK_PACKAGE_CONTACT "The Pelorin developers <maintainers@pelorin.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Shows when an AI coding session needs you, and carries your answer back")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The interface's own language loads these at run time, and so does the toolkit its way to Wayland, which no library
# dependency tells.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "qml6-module-qtquick, qml6-module-qtquick-window, qml6-module-qtqml, qml6-module-qtqml-models, qml6-module-qtqml-workerscript, qt6-wayland")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, fonts-noto-color-emoji")
include(CPack)
