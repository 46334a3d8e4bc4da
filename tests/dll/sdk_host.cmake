# Unpacks what is delivered, builds the example host against nothing else and runs it from there.
# cmake -DBUILD=... -DWORK=... -DCONSUMER=... -DTOOLCHAIN=... -DRUN=EMULATOR -P sdk_host.cmake
function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    string(JOIN " " line ${ARGN})
    message(FATAL_ERROR "${line}: ${status}")
  endif()
endfunction()

set(sdk ${WORK}/sdk)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${sdk})
foreach(name bin/Brantel.dll bin/libopencv_core460.dll bin/cl.bin bin/brantel-stitch.exe lib/libBrantel.dll.a
    include/brantel/brantel.h)
  if(NOT EXISTS ${sdk}/${name})
    message(FATAL_ERROR "${name} is missing")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/build -G Ninja -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
  -DBrantel_DIR=${sdk}/lib/cmake/Brantel -DOpenCV_DIR=${sdk}/lib/cmake/opencv4
  -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${sdk}/bin)
run(${CMAKE_COMMAND} --build ${WORK}/build)
file(WRITE ${WORK}/stitch.txt "1")
run(${RUN} ${sdk}/bin/consumer.exe)
