# The man page and the completions for shells, where each of them is looked for. On Windows nobody
# looks for them: they lie beside the program, the man page as HTML if mandoc was there to make it.
if(WIN32)
  install(FILES ${MOLDEX_HELP_FOLDER}/moldex.ps1 ${MOLDEX_HELP_FOLDER}/moldex.bash DESTINATION .)
  install(FILES ${MOLDEX_HELP_FOLDER}/moldex.html DESTINATION . OPTIONAL)
else()
  install(FILES ${MOLDEX_HELP_FOLDER}/moldex.1 DESTINATION share/man/man1)
  install(FILES ${MOLDEX_HELP_FOLDER}/moldex.bash
    DESTINATION share/bash-completion/completions RENAME moldex)
  install(FILES ${MOLDEX_HELP_FOLDER}/moldex.ps1 DESTINATION share/moldex)
  # Debian wants man pages compressed; other installations show them as they are.
  set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/compress_man_page.cmake)
endif()
