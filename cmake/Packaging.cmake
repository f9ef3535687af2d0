# The Debian package: desktop and autostart entries, the icon, man pages made from each
# program's --help, the sample lists and the status-bar utility's link in the machine-wide
# Library folder, and CPack's DEB settings. Configure with the "package" preset and run
# "cpack -G DEB" in its build folder (scripts/package.sh does both and checks the result).
option(TAVIX_PACKAGE "Install the machine-wide files and man pages of the Debian package" OFF)
if(NOT TAVIX_PACKAGE)
  return()
endif()

set(_pkg_src ${PROJECT_SOURCE_DIR}/packaging)
install(FILES ${_pkg_src}/tavix-settings.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${_pkg_src}/tavix-settings.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${_pkg_src}/tavix-touch-setting-utility.desktop DESTINATION /etc/xdg/autostart)
install(FILES ${_pkg_src}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavix-touch-settings)

# Metrics for node_exporter's textfile collector: a timer per panel user
# (tavix-panel-metrics@USER.timer), the helper its service runs, and the alert rules for the
# Prometheus server.
install(FILES ${_pkg_src}/tavix-panel-metrics@.service ${_pkg_src}/tavix-panel-metrics@.timer
        DESTINATION /lib/systemd/system)
install(PROGRAMS ${_pkg_src}/tavix-panel-metrics DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/tavix)
install(FILES ${_pkg_src}/prometheus/tavix-panel.rules.yml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/tavix/prometheus)

find_program(GZIP_PROGRAM gzip REQUIRED)
find_program(HELP2MAN_PROGRAM help2man REQUIRED)
set(_pkg_bin ${CMAKE_CURRENT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${_pkg_bin})
add_custom_command(OUTPUT ${_pkg_bin}/changelog.gz
  COMMAND ${GZIP_PROGRAM} -9n -c ${_pkg_src}/changelog > ${_pkg_bin}/changelog.gz
  DEPENDS ${_pkg_src}/changelog)

# One man page per program, from its --help (no display needed).
set(_man_pages "")
foreach(_entry
    "tavix-settings|the touch panel settings window"
    "tavix-panelctl|read and change the touch panel's settings from the command line"
    "tavix-panel-sim|stand-in for the touch panel driver daemon and its panel"
    "TavixTouchSettingUtility|the touch panel's status-bar icon and menu")
  string(REPLACE "|" ";" _parts "${_entry}")
  list(GET _parts 0 _prog)
  list(GET _parts 1 _what)
  set(_page ${_pkg_bin}/${_prog}.1)
  add_custom_command(OUTPUT ${_page}.gz
    COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
            ${HELP2MAN_PROGRAM} --no-info
            --version-string=${PROJECT_VERSION} --name=${_what} --output=${_page}
            $<TARGET_FILE:${_prog}>
    COMMAND ${GZIP_PROGRAM} -9nf ${_page}
    DEPENDS ${_prog}
    VERBATIM)
  list(APPEND _man_pages ${_page}.gz)
endforeach()
add_custom_target(package_files ALL DEPENDS ${_man_pages} ${_pkg_bin}/changelog.gz)
install(FILES ${_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${_pkg_bin}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavix-touch-settings)

# The machine-wide Library folder of the package holds the driver's lists and the link the
# settings window starts the status-bar utility through.
set(_syslib ${TAVIX_SYSTEM_LIBRARY_DEFAULT})
install(FILES ${PROJECT_SOURCE_DIR}/data/DeviceList.plist
              ${PROJECT_SOURCE_DIR}/data/SupportResolutionList.plist
        DESTINATION ${_syslib}/Preferences/TavixTouchPanel)
set(_app_dir "${_syslib}/Application Support/TavixTouchPanel/StatusBarApp")
file(RELATIVE_PATH _link_target "${_app_dir}"
     "${CMAKE_INSTALL_FULL_BINDIR}/TavixTouchSettingUtility")
install(CODE "
  file(MAKE_DIRECTORY \"\$ENV{DESTDIR}${_app_dir}\")
  file(CREATE_LINK \"${_link_target}\" \"\$ENV{DESTDIR}${_app_dir}/TavixTouchSettingUtility.app\"
       SYMBOLIC)
")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavix-touch-settings)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Tavix")
set(CPACK_PACKAGE_CONTACT "Tavix Project <maintainers@tavix.invalid>")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Tavix Project <maintainers@tavix.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "settings for the Tavix touch display driver")
# CPack puts the summary on the Description line; this is the extended text below it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "The settings window (tavix-settings with its pane) calibrates large touch
displays, tunes their touch behaviour and reads their hardware state through
the driver daemon. The package also holds the status-bar utility, the
command-line tool tavix-panelctl (with settings profiles for configuration
management), a systemd timer that keeps the panel's health in node_exporter's
textfile folder, Prometheus alert rules, and a panel simulator that stands in
for the driver daemon.")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "default-dbus-session-bus | dbus-session-bus")
get_property(_qt_private_abi GLOBAL PROPERTY TAVIX_QT_PRIVATE_ABI)
if(_qt_private_abi)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", qt6-base-abi (= ${Qt6_VERSION})")
endif()
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "prometheus-node-exporter")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${_pkg_src}/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
