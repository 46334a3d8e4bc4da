# Installs the build into a fresh prefix, moves that, and builds and runs a host against what is there.
# cmake -DBUILD=... -DWORK=... -DCONSUMER=... -DWITH_PKG_CONFIG=ON|OFF -DCXX=... -DFLAGS=... -P use_installed.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    string(JOIN " " line ${ARGN})
    message(FATAL_ERROR "${line}: ${status}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${WORK}/moved)

file(GLOB_RECURSE pkg_config_files ${WORK}/moved/brantel.pc)
get_filename_component(pkg_config_dir ${pkg_config_files} DIRECTORY)
get_filename_component(library_dir ${pkg_config_dir} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pkg_config_dir})
run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${WORK}/moved
  -DWITH_PKG_CONFIG=${WITH_PKG_CONFIG} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/build)
set(ENV{LD_LIBRARY_PATH} ${library_dir})
file(WRITE ${WORK}/stitch.txt "1")
execute_process(COMMAND ${WORK}/build/consumer WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the host ended with ${status}")
endif()
