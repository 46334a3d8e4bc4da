# Unpacks what is delivered, builds the hosts of both libraries against nothing else and runs them from there.
# cmake -DBUILD=... -DWORK=... -DCONSUMERS=... -DTOOLCHAIN=... -DRUN=EMULATOR -P sdk_host.cmake
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
foreach(name bin/Brantel.dll bin/BrantelSession.dll bin/libopencv_core460.dll bin/cl.bin bin/brantel-stitch.exe
    lib/libBrantel.dll.a lib/libBrantelSession.dll.a include/brantel/brantel.h include/brantel/session.h
    share/brantel/examples/BrantelSession.cs share/brantel/examples/Session.cs)
  if(NOT EXISTS ${sdk}/${name})
    message(FATAL_ERROR "${name} is missing")
  endif()
endforeach()

file(WRITE ${WORK}/stitch.txt "1")
foreach(consumer consumer session_consumer)
  run(${CMAKE_COMMAND} -S ${CONSUMERS}/${consumer} -B ${WORK}/${consumer} -G Ninja -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -DBrantel_DIR=${sdk}/lib/cmake/Brantel -DOpenCV_DIR=${sdk}/lib/cmake/opencv4
    -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${sdk}/bin)
  run(${CMAKE_COMMAND} --build ${WORK}/${consumer})
  run(${RUN} ${sdk}/bin/consumer.exe)
endforeach()
