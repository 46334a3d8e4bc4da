# Installs the build into a fresh prefix, moves that, builds a host against what is there and runs it with the versioned
# library alone.
# cmake -DBUILD=... -DWORK=... -DCONSUMER=... -DLIBRARY=NAME -DINTERFACE=0.1 -DWITH_PKG_CONFIG=ON|OFF -DCC=... -DCXX=...
#       -DFLAGS=... -P use_installed.cmake
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
  -DWITH_PKG_CONFIG=${WITH_PKG_CONFIG} -DCMAKE_C_COMPILER=${CC} -DCMAKE_CXX_COMPILER=${CXX}
  -DCMAKE_C_FLAGS=${FLAGS} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/build)
# As on a machine of users, who lack the link that compilers look for.
file(COPY ${library_dir}/lib${LIBRARY}.so.${INTERFACE} DESTINATION ${WORK}/users FOLLOW_SYMLINK_CHAIN)
set(ENV{LD_LIBRARY_PATH} ${WORK}/users)
file(WRITE ${WORK}/stitch.txt "1")
execute_process(COMMAND ${WORK}/build/consumer WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the host ended with ${status}")
endif()
