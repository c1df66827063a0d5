# What names .QEL archives to file(1) and to desktops. Debian renews its database of file types by
# itself; file has no folder that packages may add to (README.md says how it gets to know).
install(FILES ${PROJECT_SOURCE_DIR}/share/moldex.magic DESTINATION share/moldex)
install(FILES ${PROJECT_SOURCE_DIR}/share/moldex-mime.xml
  DESTINATION share/mime/packages RENAME moldex.xml)
