# scripts/demo with a picture that is not there says so at once.
# cmake -DDEMO=... -P demo_missing.cmake
foreach(picture MISSING.jpg "" .)
  execute_process(COMMAND ${DEMO} "${picture}" RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE error)
  if(NOT status EQUAL 2 OR NOT error MATCHES "is no file that can be read" OR NOT output STREQUAL "")
    message(FATAL_ERROR "'${picture}' ended with ${status}:\n${output}${error}")
  endif()
endforeach()
