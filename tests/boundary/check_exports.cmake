# cmake -DNM=... -DLIBRARY=... -DEXPORTS=a,b,c -P check_exports.cmake
# Fails unless the dynamic symbol table defines exactly these names.
execute_process(COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
  OUTPUT_VARIABLE table RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "nm: ${failed}")
endif()
string(REGEX MATCHALL "[^\n ]+ [A-Za-z] [^\n]*" lines "${table}")
list(TRANSFORM lines REPLACE " .*" "")
string(REPLACE "," ";" expected "${EXPORTS}")
list(SORT lines)
list(SORT expected)
if(NOT "${lines}" STREQUAL "${expected}")
  message(FATAL_ERROR "exports are: ${lines}")
endif()
