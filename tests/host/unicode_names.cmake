# The host programs, run as Windows starts them, with names that its code pages do not know.
# cmake -DRUN=EMULATOR -DSTITCH=... -DSCAN=... -DWORK=... -P unicode_names.cmake
set(folder "${WORK}/Zürich, Probe 岩石")
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# run(EXPECTED_STATUS PROGRAM ARGUMENT...)
function(run expected)
  execute_process(COMMAND ${RUN} ${ARGN} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  if(NOT status EQUAL expected)
    string(JOIN " " line ${ARGN})
    message(FATAL_ERROR "${line}: ended with ${status} instead of ${expected}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(0 ${SCAN} --generate 1400x1000 --frame 480x360 --overlap 35 -o ${folder})
run(0 ${STITCH} ${folder} -o ${folder}/mösaic.png --overview ${folder}/über.jpg --report ${folder}/bericht.jsonl
  --library-log ${folder}/日誌.txt)
foreach(name mösaic.png über.jpg 日誌.txt)
  if(NOT EXISTS ${folder}/${name})
    message(FATAL_ERROR "${name} was not written")
  endif()
endforeach()

# Every frame lies where the scan took it; the first one is the mosaic's top-left.
file(STRINGS ${folder}/truth.csv truth)
list(POP_FRONT truth)
file(STRINGS ${folder}/bericht.jsonl report ENCODING UTF-8)
list(LENGTH truth frames)
if(frames LESS 6)
  message(FATAL_ERROR "a scan of only ${frames} frames")
endif()
foreach(line frame IN ZIP_LISTS truth report)
  if(NOT line)
    continue() # the summary
  endif()
  string(REGEX MATCH "^([^,]+),([0-9]+),([0-9]+)," ignored "${line}")
  string(JSON x GET "${frame}" position x)
  string(JSON y GET "${frame}" position y)
  if(NOT "${x},${y}" STREQUAL "${CMAKE_MATCH_2},${CMAKE_MATCH_3}")
    message(FATAL_ERROR "${CMAKE_MATCH_1} lies at ${x},${y} instead of ${CMAKE_MATCH_2},${CMAKE_MATCH_3}")
  endif()
endforeach()

# A JPEG it has written can be read again; what is missing is named as it was given.
run(0 ${SCAN} ${folder}/über.jpg --frame 200x150 --frames 2 -o ${folder}/zweiter)
run(2 ${STITCH} ${folder}/fehlt岩)
if(NOT output MATCHES "fehlt岩 does not exist")
  message(FATAL_ERROR "the message is: ${output}")
endif()
message(STATUS "${frames} frames placed")
