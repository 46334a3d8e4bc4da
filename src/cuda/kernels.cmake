# The kernels' machine code. Compute capability 3.0 where the toolkit still has it, else its oldest target; the portable
# code beside it is what newer devices compile at load time.
set(BRANTEL_CUDA_ARCHITECTURE "" CACHE STRING "Compute capability to build the kernels for, e.g. 75")
set(architecture ${BRANTEL_CUDA_ARCHITECTURE})
if(NOT architecture)
  set(architecture 30)  # toolkits that know it cannot list their targets
  execute_process(COMMAND ${BRANTEL_NVCC} --list-gpu-code
    OUTPUT_VARIABLE listed RESULT_VARIABLE failed ERROR_QUIET)
  string(REGEX MATCHALL "sm_[0-9]+" codes "${listed}")
  if(NOT failed AND codes)
    list(TRANSFORM codes REPLACE "sm_" "")
    list(SORT codes COMPARE NATURAL)
    list(GET codes 0 architecture)
  endif()
endif()
message(STATUS "CUDA kernels: sm_${architecture} and compute_${architecture}")

# nvcc reads C++ with the host's own compiler, also when everything else is for another system.
if(NOT CMAKE_CROSSCOMPILING)
  set(host_compiler -ccbin ${CMAKE_CXX_COMPILER})
endif()

# brantel_compile_kernels(OUTPUT KIND...): KIND is what nvcc is to make.
# -fmad=false: no result may depend on the compiler's contraction; fused steps are spelled out in the text.
function(brantel_compile_kernels output)
  set(gpu ${PROJECT_SOURCE_DIR}/src/gpu)
  set(source ${PROJECT_SOURCE_DIR}/src/cuda/kernels.cu)
  add_custom_command(OUTPUT ${output}
    COMMAND ${BRANTEL_NVCC} ${ARGN} ${source} -o ${output} -I${PROJECT_SOURCE_DIR}/src
      ${host_compiler} -std=c++17 -O3 -fmad=false
      -gencode=arch=compute_${architecture},code=[sm_${architecture},compute_${architecture}]
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
