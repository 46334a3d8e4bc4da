# The kernels' machine code: for the first compute capability of every major number that the toolkit knows, which runs on
# all devices of that number, and portable code for the oldest, which newer devices compile when it is loaded.
set(BRANTEL_CUDA_ARCHITECTURE "" CACHE STRING "Compute capability to build the kernels for, e.g. 75")

# The first capability of every major number among the toolkit's, the oldest first.
function(brantel_list_architectures out)
  execute_process(COMMAND ${BRANTEL_NVCC} --list-gpu-code
    OUTPUT_VARIABLE listed RESULT_VARIABLE failed ERROR_QUIET)
  string(REGEX MATCHALL "sm_[0-9]+" codes "${listed}")
  if(failed OR NOT codes)
    set(codes sm_30 sm_50 sm_60 sm_70)  # toolkits that know 3.0 cannot list what they know
  endif()
  list(TRANSFORM codes REPLACE "sm_" "")
  list(SORT codes COMPARE NATURAL)
  set(last_major "")
  foreach(code IN LISTS codes)
    math(EXPR major "${code} / 10")
    if(NOT major STREQUAL last_major)
      list(APPEND firsts ${code})
    endif()
    set(last_major ${major})
  endforeach()
  set(${out} ${firsts} PARENT_SCOPE)
endfunction()

set(architectures ${BRANTEL_CUDA_ARCHITECTURE})
if(NOT architectures)
  brantel_list_architectures(architectures)
endif()
list(GET architectures 0 oldest)
list(JOIN architectures " sm_" shown)
message(STATUS "CUDA kernels: sm_${shown} and compute_${oldest}")
set(targets -gencode=arch=compute_${oldest},code=compute_${oldest})
foreach(code IN LISTS architectures)
  list(APPEND targets -gencode=arch=compute_${code},code=sm_${code})
endforeach()

# nvcc reads C++ with the host's own compiler, also when everything else is for another system.
if(NOT CMAKE_CROSSCOMPILING)
  set(host_compiler -ccbin ${CMAKE_CXX_COMPILER})
endif()

# brantel_compile_kernels(OUTPUT KIND...): KIND is what nvcc is to make.
# C++14, which is what the toolkits that know 3.0 read.
# -fmad=false: no result may depend on the compiler's contraction; fused steps are spelled out in the text.
function(brantel_compile_kernels output)
  set(gpu ${PROJECT_SOURCE_DIR}/src/gpu)
  set(source ${PROJECT_SOURCE_DIR}/src/cuda/kernels.cu)
  add_custom_command(OUTPUT ${output}
    COMMAND ${BRANTEL_NVCC} ${ARGN} ${source} -o ${output} -I${PROJECT_SOURCE_DIR}/src
      ${host_compiler} -std=c++14 -O3 -fmad=false ${targets}
    DEPENDS ${source} ${gpu}/kernels.h ${gpu}/kernel_list.inc ${gpu}/kernels.inc
    COMMENT "Building the CUDA kernels" VERBATIM)
endfunction()

# brantel_cuda_kernels: with the host functions that introduce them to the toolkit's runtime.
if(interface STREQUAL runtime)
  set(object ${CMAKE_CURRENT_BINARY_DIR}/kernels${CMAKE_CXX_OUTPUT_EXTENSION})
  brantel_compile_kernels(${object} -c -Xcompiler -fPIC,-fvisibility=hidden)
  add_library(brantel_cuda_kernels STATIC ${object})
  set_target_properties(brantel_cuda_kernels PROPERTIES LINKER_LANGUAGE CXX)
endif()
