# Installation under the usual prefix and the Debian package.
#   cmake --install build --prefix /usr/local   (bin/velmar, the manual page, bash completion)
#   cd build && cpack                           (velmar_VERSION_ARCH.deb)
include(GNUInstallDirs)

install(TARGETS velmar RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The Calc backend, which velmar loads from there when a command asks for the running Calc.
if(TARGET velmar_calc_module)
  install(TARGETS velmar_calc_module LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/velmar)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/docs/velmar.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/scripts/completion/velmar
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmar)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Orvane")
set(CPACK_PACKAGE_CONTACT "Orvane <support@orvane.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "move block attribute data between DXF drawings and .xlsx workbooks")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.orvane.com/")
# The libraries' Debian packages, as dpkg-shlibdeps finds them from what the program links.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The update check loads libcurl when it goes out, so no library the program links names it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcurl4")
# Opening web pages and showing the manual are better with these, and work without them.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, man-db")
# Debug information stays in the build tree.
set(CPACK_STRIP_FILES ON)
include(CPack)
