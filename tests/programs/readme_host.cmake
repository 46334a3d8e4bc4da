# Builds the ten-line host that README.md shows and stitches a scan with it.
# cmake -DREADME=... -DWORK=... -DCXX=... -DFLAGS=... -DINCLUDES=... -DLIBRARY=... -DSCAN=... -P readme_host.cmake
function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status OUTPUT_QUIET)
  if(NOT status EQUAL 0)
    string(JOIN " " line ${ARGN})
    message(FATAL_ERROR "${line}: ${status}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
file(READ ${README} text)
if(NOT text MATCHES "```cpp\n([^`]*)```")
  message(FATAL_ERROR "README.md shows no host")
endif()
file(WRITE ${WORK}/host.cpp "${CMAKE_MATCH_1}")
list(TRANSFORM INCLUDES PREPEND -I)
get_filename_component(library_dir ${LIBRARY} DIRECTORY)
run(${CXX} -std=c++17 ${FLAGS} ${INCLUDES} host.cpp ${LIBRARY} -Wl,-rpath,${library_dir} -lopencv_core
  -lopencv_imgcodecs -o host)
run(${SCAN} --generate 560x240 --frame 320x240 --step 120,100 --path row -o scan --quiet)
run(${WORK}/host scan/frame_0001.png scan/frame_0002.png scan/frame_0003.png)
# Width and height stand in bytes 16 to 23 of a PNG file.
file(READ ${WORK}/mosaic.png size OFFSET 16 LIMIT 8 HEX)
if(NOT size STREQUAL "00000230000000f0")
  message(FATAL_ERROR "the mosaic is not 560 x 240 pixels but (in hex) ${size}")
endif()
