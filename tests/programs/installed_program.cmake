# The installed programs find the library relative to themselves.
# cmake -DBUILD=... -DWORK=... -P installed_program.cmake
file(REMOVE_RECURSE ${WORK})
foreach(step "--install;${BUILD};--prefix;${WORK}/first" "-E;rename;${WORK}/first;${WORK}/moved"
    "-E;env;--unset=LD_LIBRARY_PATH;${WORK}/moved/bin/brantel-stitch;--version"
    "-E;env;--unset=LD_LIBRARY_PATH;${WORK}/moved/bin/brantel-scan;--version")
  execute_process(COMMAND ${CMAKE_COMMAND} ${step} RESULT_VARIABLE status OUTPUT_QUIET)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${step}: ${status}")
  endif()
endforeach()
