# What an installed tree holds beside the programs (their install rules live with their targets)
# and the Debian package CPack makes of it: scripts/package or "./run --package".

# The desktop entry, the icon in every size, the AppStream metainfo and the manual page.
install(FILES resources/ostrel-bulk-sms.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES resources/icons/ostrel-bulk-sms.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
foreach(size 48 64 128 256)
  install(FILES resources/icons/ostrel-bulk-sms-${size}.png
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
          RENAME ostrel-bulk-sms.png)
endforeach()
configure_file(resources/com.ostrel.BulkSMS.metainfo.xml ${CMAKE_BINARY_DIR}/metainfo/com.ostrel.BulkSMS.metainfo.xml
               @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/metainfo/com.ostrel.BulkSMS.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# The manual page is the program's own help, so it never says other than the program does.
set(BULKSMS_MANPAGE ${CMAKE_BINARY_DIR}/man/bulksms.1.gz)
add_custom_command(
  OUTPUT ${BULKSMS_MANPAGE}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/man
  COMMAND ${CMAKE_SOURCE_DIR}/scripts/manpage $<TARGET_FILE:bulksms> ${BULKSMS_MANPAGE}
  DEPENDS bulksms ${CMAKE_SOURCE_DIR}/scripts/manpage
  COMMENT "Writing the manual page from bulksms --help"
  VERBATIM)
add_custom_target(bulksms_manpage ALL DEPENDS ${BULKSMS_MANPAGE})
install(FILES ${BULKSMS_MANPAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The worker's and the API's systemd user services (not enabled). It names the program where this install
# puts it, the package's /usr/bin or another prefix's, so it is written at install time.
install(CODE "
  set(BULKSMS_WORKER_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  configure_file(\"${CMAKE_SOURCE_DIR}/resources/bulksms-worker.service.in\"
                 \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/systemd/user/bulksms-worker.service\" @ONLY)
  message(STATUS \"Installing: \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/systemd/user/bulksms-worker.service\")
  configure_file(\"${CMAKE_SOURCE_DIR}/resources/bulksms-api.service.in\"
                 \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/systemd/user/bulksms-api.service\" @ONLY)
  message(STATUS \"Installing: \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/lib/systemd/user/bulksms-api.service\")")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ostrel-bulk-sms)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Ostrel")
set(CPACK_PACKAGE_CONTACT "Ostrel support <support@ostrel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Send text messages in bulk through GSM modems and Android phones")
set(CPACK_PACKAGE_DESCRIPTION
    "Builds recipient lists from typed, pasted and loaded files (text, CSV, RTF, spreadsheets) and sends\
 messages through GSM modems (AT commands, PDU and text mode, many at once) and Android phones (adb),\
 with delivery reports, sent-items logs, templates, exclusion lists and a resumable run journal.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION comm)
# The shared libraries actually linked (dpkg-shlibdeps), the platform plugins the windows need
# (loaded, not linked), and the phone road's client.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "adb, qt6-qpa-plugins")
include(CPack)
