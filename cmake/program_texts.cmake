# program_texts(PROGRAM): its manual page and its completion for bash, made from what it says of itself.
find_program(BRANTEL_AWK awk REQUIRED DOC "awk, which makes manual pages and completions")
set(program_texts_script ${CMAKE_CURRENT_LIST_DIR}/program_texts.awk)

function(program_texts program)
  set(help ${CMAKE_CURRENT_BINARY_DIR}/${program}.help)
  set(page ${CMAKE_CURRENT_BINARY_DIR}/${program}.1)
  set(completion ${CMAKE_CURRENT_BINARY_DIR}/${program}.bash)
  set(write ${BRANTEL_AWK} -v program=${program} -v "version=Brantel ${PROJECT_VERSION}")
  add_custom_command(OUTPUT ${page} ${completion}
    COMMAND ${program} --help > ${help}
    COMMAND ${write} -v form=manual -f ${program_texts_script} ${help} > ${page}
    COMMAND ${write} -v form=completion -f ${program_texts_script} ${help} > ${completion}
    DEPENDS ${program} ${program_texts_script} VERBATIM)
  add_custom_target(${program}-texts ALL DEPENDS ${page} ${completion})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${program} COMPONENT tools)
endfunction()
